#pragma once

#include <cstddef>
#include <string_view>

namespace mediaprobe {

struct Utf8Character {
  char32_t code;
  std::size_t size;  ///< in bytes
};

/// The first character of `text`, which is valid UTF-8 and not empty.
Utf8Character FirstCharacter(std::string_view text);

}  // namespace mediaprobe
