#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace media_server::image {

/// What raw formats without Exif tell of a shot in fields of their own.
struct Shot {
  std::string maker;
  std::string model;
  std::optional<std::int64_t> taken_s;  ///< local time, as seconds since 1970
  std::optional<double> exposure_time_s;
};

/// The same as a TIFF structure with Exif tags, so that it goes the way of all Exif; empty when nothing is told.
std::vector<std::uint8_t> ExifOf(const Shot& shot);

}  // namespace media_server::image
