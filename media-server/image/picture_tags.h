#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// What Exif, XMP and IPTC tell of a picture. Texts are valid UTF-8 and not empty.
struct PictureTags {
  std::optional<std::string> maker;
  std::optional<std::string> model;
  std::optional<std::int64_t> created;      ///< seconds since 1970 UTC
  std::optional<std::int64_t> modified;     ///< seconds since 1970 UTC
  std::optional<double> latitude_degrees;   ///< 0 to 90; without sign
  std::optional<double> longitude_degrees;  ///< 0 to 180; without sign
  std::optional<char> latitude_ref;         ///< 'N' or 'S'
  std::optional<char> longitude_ref;        ///< 'E' or 'W'
  std::optional<double> exposure_time_s;
  std::optional<Orientation> orientation;
  std::optional<std::string> aigc;  ///< label of AI-generated content, as it stands
};

}  // namespace media_server::image
