#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// `text`, or as much of its front as `most` bytes hold without cutting a UTF-8 character in two. Borrowed from `text`.
constexpr std::string_view CutUtf8(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  const auto continues = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; };
  while (most > 0 && continues(text[most])) --most;
  return text.substr(0, most);
}

}  // namespace platform
