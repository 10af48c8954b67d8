#pragma once

#include <cstdint>
#include <string_view>

namespace media_server::image {

/// Packs four characters, the first one into the least significant byte. Pictures of formats that have no such code get
/// the usual file name extension in capitals, padded with blanks.
constexpr std::uint32_t FourCC(std::string_view four) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4; ++i) code |= std::uint32_t{static_cast<unsigned char>(four[i])} << (8 * i);
  return code;
}

}  // namespace media_server::image
