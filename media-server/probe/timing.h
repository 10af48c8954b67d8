#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/rational.h"

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// Value of a metadata tag of a stream; a key may carry a language ("BPS" finds "BPS-eng"). Empty when there is none.
std::optional<std::string> StreamTag(const AVStream& stream, const char* key);

/// Duration of the whole file in seconds; 0 unknown. What the container tells as a whole, else from the start of the
/// earliest to the end of the latest sound, picture or subtitle stream. Of a file that is a header and sound, where
/// neither is told, from its size and the sound's bit rate.
double FileDuration(const AVFormatContext& context, std::optional<std::uint64_t> size);

/// Duration of a stream in seconds: its own, else the one its statistics tag tells ("01:02:03.004"), else empty.
std::optional<double> StreamDuration(const AVStream& stream);

/// Overall bit rate in bits/s from size and duration; what the container claims when either is unknown; 0 unknown.
std::uint64_t FileBitRate(const AVFormatContext& context, std::optional<std::uint64_t> size, double duration);

/// Bit rate of a stream in bits/s; 0 unknown. Exact for uncompressed sound, else what header or statistics tags tell.
std::uint64_t StreamBitRate(const AVStream& stream);

/// Gives the streams of an MP4 file the rates of the samples in its index, where that has only the first fragments
/// because another one names them all (sidx): libavformat divides the bytes that it knows by the time of all. Sound is
/// much the same all over a file; pictures share what it leaves of `rate_of_all`, which the fragments have together.
void SetRatesOfFragments(AVFormatContext& context, double rate_of_all);

/// Gives pictures of GXF the rate that the file tells: libavformat has it only in its clock, which counts two fields to
/// each picture (SMPTE 360M), and takes it for that of pictures.
void SetRateOfFieldClock(AVFormatContext& context);

/// Makes the last picture of MPEG-1 a whole one where the times of packets tell the length: libavformat takes its
/// packets for half as long as they are.
void CompleteLastPicture(AVFormatContext& context);

/// Frames per second; 0 unknown.
double FrameRate(const AVStream& stream);

/// Number of pictures: counted by the container where it counts, else the samples in its index (`sample_count`, 0 for
/// none), else estimated from `duration` (seconds) and `frame_rate`, and never 0.
std::uint32_t FrameCount(const AVStream& stream, std::uint32_t sample_count, double duration, double frame_rate);

/// A number in the 32 bits that the interfaces have for rates; what is larger gives the largest.
std::uint32_t Saturated(std::uint64_t value);

/// A fraction of a codec's header as a number; `unknown` where it tells none.
double NumberOf(const std::optional<core::Rational>& fraction, double unknown);

}  // namespace media_server::probe
