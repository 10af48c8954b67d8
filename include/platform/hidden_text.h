#pragma once

#include <algorithm>
#include <array>

namespace platform {

/// Whether a character is no text but a control (C0, DEL, C1), a mark or control of direction, which makes a line read
/// as another one, a separator of lines, or has no width. The joiners that scripts and emoji need are text.
constexpr bool IsHidden(char32_t character) {
  struct Range {
    char32_t first;
    char32_t last;
  };
  constexpr std::array<Range, 8> kHidden{{{0x00, 0x1F},
                                          {0x7F, 0x9F},
                                          {0x061C, 0x061C},
                                          {0x200B, 0x200B},
                                          {0x200E, 0x200F},
                                          {0x2028, 0x202E},
                                          {0x2060, 0x206F},
                                          {0xFEFF, 0xFEFF}}};
  return std::ranges::any_of(kHidden,
                             [character](Range range) { return character >= range.first && character <= range.last; });
}

}  // namespace platform
