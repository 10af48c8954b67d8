#include "media-server/image/shot_exif.h"

#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace media_server::image {
namespace {

constexpr std::uint16_t kAscii = 2;
constexpr std::uint16_t kRational = 5;

/// With its terminator, as in a file.
void AddText(ExifDirectory directory, ExifTag tag, const std::string& text, ExifValues& exif) {
  if (text.empty()) return;
  exif.values.push_back({directory,
                         tag,
                         kAscii,
                         static_cast<std::uint32_t>(text.size() + 1),
                         {text.c_str(), text.c_str() + text.size() + 1}});
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
void AddExposure(double exposure_time_s, ExifValues& exif) {
  constexpr std::uint32_t kPerSecond = 1000000;
  constexpr double kMostSeconds = 4000;
  if (!(exposure_time_s > 0 && exposure_time_s <= kMostSeconds)) return;
  std::vector<std::uint8_t> bytes;
  for (const auto half : {static_cast<std::uint32_t>(std::llround(exposure_time_s * kPerSecond)), kPerSecond}) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(half >> shift));
  }
  exif.values.push_back({ExifDirectory::kExif, kExifExposureTime, kRational, 1, std::move(bytes)});
}

}  // namespace

ExifValues ExifOf(const Shot& shot) {
  ExifValues exif;
  exif.order = std::endian::little;
  AddText(ExifDirectory::kImage, kExifMake, shot.maker, exif);
  AddText(ExifDirectory::kImage, kExifModel, shot.model, exif);
  if (shot.exposure_time_s) AddExposure(*shot.exposure_time_s, exif);
  if (shot.taken_s) AddText(ExifDirectory::kExif, kExifDateTimeOriginal, DateText(*shot.taken_s), exif);
  return exif;
}

}  // namespace media_server::image
