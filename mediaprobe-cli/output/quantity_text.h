#pragma once

#include <cstdint>
#include <string>

#include "core/rational.h"

/// Amounts as people read them.
namespace mediaprobe {

/// "1,268,000".
std::string GroupedText(std::uint64_t number);
/// "0:01:02.503" of a count of 100 ns, rounded to milliseconds.
std::string DurationText(std::uint64_t duration_100ns);
/// "1.27 MB (1,268,000 bytes)"; below 1000 only "512 bytes".
std::string SizeText(std::uint64_t bytes);
/// "1.27 MB", "512 B".
std::string ShortSizeText(std::uint64_t bytes);
/// "1/125 s" of times below 0.3 seconds, else "2.5 s". Empty for times that are none.
std::string ExposureText(double seconds);
/// "2.1 Mb/s"; below 1000 "800 b/s".
std::string BitRateText(std::uint64_t bits_per_second);
/// "29.97 fps". The denominator must not be 0.
std::string FrameRateText(const core::Rational& frames_per_second);
/// "44.1 kHz".
std::string SampleRateText(std::uint32_t hz);
/// "mono", "stereo", "6 channels".
std::string ChannelsText(std::uint32_t channels);
/// At most `decimals` digits after the point, and no trailing zeros: "29.97", "25".
std::string DecimalText(double value, int decimals);

}  // namespace mediaprobe
