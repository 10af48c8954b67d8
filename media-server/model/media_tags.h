#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace media_server {

/// A place on earth in signed degrees, north and east above zero.
struct GeoLocation {
  double latitude = 0;   ///< -90 to 90
  double longitude = 0;  ///< -180 to 180

  friend bool operator==(const GeoLocation&, const GeoLocation&) = default;
};

/// The tags of a media file. Texts are valid UTF-8, empty when the file has no such tag.
struct MediaTags {
  std::string title;
  std::string artist;
  std::string album;
  std::string track_number;
  std::string genre;
  std::string publisher;
  std::string actor;
  std::string maker;
  std::string model;
  std::string aigc;                        ///< AI-generated-content label, as it stands
  std::optional<std::int32_t> alpha_mode;  ///< imagecore::AlphaMode
  std::optional<GeoLocation> location;
  std::optional<std::int64_t> created;   ///< seconds since 1970 UTC
  std::optional<std::int64_t> modified;  ///< seconds since 1970 UTC
};

}  // namespace media_server
