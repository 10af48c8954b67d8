#pragma once

#include <optional>
#include <string_view>

#include "media-server/model/media_tags.h"

namespace media_server {

/// Reads a place written as ISO 6709 text: "+48.8577+002.295/", "-3351.41+15112.92+010/", "+401213-0750015". Degrees
/// have two digits (latitude) or three (longitude), minutes and seconds two each; the last group may have a fraction;
/// an altitude and a coordinate system may follow. Empty for anything else and for places off the globe.
std::optional<GeoLocation> ParseIso6709(std::string_view text);

}  // namespace media_server
