#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media-server/image/exif_values.h"

namespace media_server::image {

/// What raw formats without Exif tell of a shot in fields of their own.
struct Shot {
  std::string maker;
  std::string model;
  std::optional<std::int64_t> taken_s;  ///< local time, as seconds since 1970
  std::optional<double> exposure_time_s;
};

/// The same as values of Exif, so that it goes the way of all Exif; none when nothing is told.
ExifValues ExifOf(const Shot& shot);

}  // namespace media_server::image
