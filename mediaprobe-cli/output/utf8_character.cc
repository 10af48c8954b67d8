#include "output/utf8_character.h"

#include <array>

namespace mediaprobe {

Utf8Character FirstCharacter(std::string_view text) {
  constexpr std::array<unsigned, 5> kLeadMask = {0, 0x7F, 0x1F, 0x0F, 0x07};
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  char32_t code = lead & kLeadMask[size];
  for (const char byte : text.substr(1, size - 1)) code = code << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
  return {code, size};
}

}  // namespace mediaprobe
