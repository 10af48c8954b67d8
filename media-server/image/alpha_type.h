#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace media_server::image {

/// Whether an auxiliary picture's type (`auxC`, `auxi`) is an alpha plane: ISO/IEC 23000-22 7.3.5.2, and
/// the older names of ISO/IEC 23008-12 annexes B (HEVC) and E (AVC).
constexpr bool IsAlphaType(std::string_view type) {
  constexpr std::array<std::string_view, 3> kTypes = {
      "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha",
      "urn:mpeg:hevc:2015:auxid:1",
      "urn:mpeg:avc:2015:auxid:1",
  };
  return std::ranges::find(kTypes, type) != kTypes.end();
}

}  // namespace media_server::image
