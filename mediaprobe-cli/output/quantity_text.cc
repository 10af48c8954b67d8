#include "output/quantity_text.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace mediaprobe {
namespace {

constexpr std::uint64_t kTicksPerMillisecond = 10'000;
constexpr double kUnitStep = 1000;
constexpr std::array<std::string_view, 6> kPrefixes = {"", "k", "M", "G", "T", "P"};

/// Three significant digits and the unit with its prefix: "1.27 MB".
std::string WithPrefix(double amount, std::string_view unit) {
  std::size_t prefix = 0;
  // From 999.5 on three digits would read 1000.
  for (; amount >= kUnitStep - 0.5 && prefix + 1 < kPrefixes.size(); ++prefix) amount /= kUnitStep;
  const int decimals = amount < 9.995 ? 2 : amount < 99.95 ? 1 : 0;
  return DecimalText(amount, decimals).append(" ").append(kPrefixes[prefix]).append(unit);
}

}  // namespace

std::string GroupedText(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, 1, ',');
  return digits;
}

std::string DurationText(std::uint64_t duration_100ns) {
  const std::uint64_t half = kTicksPerMillisecond / 2;
  const std::uint64_t milliseconds =
      duration_100ns / kTicksPerMillisecond + (duration_100ns % kTicksPerMillisecond >= half);
  const std::uint64_t seconds = milliseconds / 1000;
  std::array<char, 48> text;
  std::snprintf(text.data(), text.size(), "%llu:%02u:%02u.%03u", static_cast<unsigned long long>(seconds / 3600),
                static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60),
                static_cast<unsigned>(milliseconds % 1000));
  return text.data();
}

std::string SizeText(std::uint64_t bytes) {
  const std::string exact = GroupedText(bytes) + (bytes == 1 ? " byte" : " bytes");
  return bytes < 1000 ? exact : ShortSizeText(bytes) + " (" + exact + ")";
}

std::string ShortSizeText(std::uint64_t bytes) { return WithPrefix(static_cast<double>(bytes), "B"); }

std::string ExposureText(double seconds) {
  // Shutters know no shorter and no longer ones; a damaged file does.
  constexpr double kShortest = 1e-7;
  constexpr double kLongest = 1e6;
  if (!(seconds >= kShortest && seconds <= kLongest)) return {};
  constexpr double kFirstDecimal = 0.3;  // as on cameras
  if (seconds < kFirstDecimal) return "1/" + DecimalText(1 / seconds, /*decimals=*/0) + " s";
  return DecimalText(seconds, /*decimals=*/2) + " s";
}

std::string BitRateText(std::uint64_t bits_per_second) {
  return WithPrefix(static_cast<double>(bits_per_second), "b/s");
}

std::string FrameRateText(const core::Rational& frames_per_second) {
  const double rate =
      static_cast<double>(frames_per_second.numerator) / static_cast<double>(frames_per_second.denominator);
  return DecimalText(rate, /*decimals=*/3) + " fps";
}

std::string SampleRateText(std::uint32_t hz) {
  return hz < 1000 ? std::to_string(hz) + " Hz" : DecimalText(hz / 1000.0, /*decimals=*/3) + " kHz";
}

std::string ChannelsText(std::uint32_t channels) {
  if (channels == 1) return "mono";
  if (channels == 2) return "stereo";
  return std::to_string(channels) + " channels";
}

std::string DecimalText(double value, int decimals) {
  // A double has at most 309 digits before its point.
  std::array<char, 400> buffer;
  const auto end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals).ptr;
  std::string text(buffer.data(), end);
  if (text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text;
}

}  // namespace mediaprobe
