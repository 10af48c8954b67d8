#include "media-server/image/shot_exif.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace media_server::image {
namespace {

constexpr std::uint16_t kAscii = 2;
constexpr std::uint16_t kRational = 5;

struct Entry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::string value;
};

std::string Le(std::uint32_t value, int width) {
  std::string bytes;
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
  return bytes;
}

void AddText(std::uint16_t tag, const std::string& text, std::vector<Entry>& entries) {
  if (text.empty()) return;
  entries.push_back({tag, kAscii, static_cast<std::uint32_t>(text.size() + 1), text + '\0'});
}

/// As Exif has it, "2003:04:05 06:07:08"; empty for years that this form has no place for.
std::string DateText(std::int64_t local_s) {
  using namespace std::chrono;
  constexpr std::int64_t kYear10000 = 253402300800;
  if (local_s < 0 || local_s >= kYear10000) return {};
  const sys_seconds time{seconds(local_s)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::array<char, 32> text{};
  const int size = std::snprintf(text.data(), text.size(), "%04d:%02u:%02u %02d:%02d:%02d", int{date.year()},
                                 unsigned{date.month()}, unsigned{date.day()}, static_cast<int>(clock.hours().count()),
                                 static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
  return {text.data(), static_cast<std::size_t>(size)};
}

/// In microseconds: cameras that have these formats have no shorter steps.
void AddExposure(double exposure_time_s, std::vector<Entry>& entries) {
  constexpr std::uint32_t kPerSecond = 1000000;
  constexpr double kMostSeconds = 4000;
  if (!(exposure_time_s > 0 && exposure_time_s <= kMostSeconds)) return;
  const auto numerator = static_cast<std::uint32_t>(std::llround(exposure_time_s * kPerSecond));
  entries.push_back({0x829A, kRational, 1, Le(numerator, 4) + Le(kPerSecond, 4)});
}

}  // namespace

std::vector<std::uint8_t> ExifOf(const Shot& shot) {
  constexpr std::size_t kHeaderSize = 8;
  constexpr std::size_t kEntrySize = 12;
  constexpr std::size_t kInlineSize = 4;
  std::vector<Entry> entries;
  AddText(0x010F, shot.maker, entries);
  AddText(0x0110, shot.model, entries);
  if (shot.exposure_time_s) AddExposure(*shot.exposure_time_s, entries);
  if (shot.taken_s) AddText(0x9003, DateText(*shot.taken_s), entries);
  if (entries.empty()) return {};

  // All in one directory, as TIFF/EP (ISO 12234-2) has it.
  std::string bytes = "II" + Le(42, 2) + Le(kHeaderSize, 4) + Le(static_cast<std::uint32_t>(entries.size()), 2);
  const std::size_t values_offset = bytes.size() + entries.size() * kEntrySize + 4;
  std::string values;
  for (const Entry& entry : entries) {
    bytes += Le(entry.tag, 2) + Le(entry.type, 2) + Le(entry.count, 4);
    if (entry.value.size() <= kInlineSize) {
      bytes += entry.value + std::string(kInlineSize - entry.value.size(), '\0');
      continue;
    }
    bytes += Le(static_cast<std::uint32_t>(values_offset + values.size()), 4);
    values += entry.value + std::string(entry.value.size() % 2, '\0');
  }
  bytes += Le(0, 4) + values;
  return {bytes.begin(), bytes.end()};
}

}  // namespace media_server::image
