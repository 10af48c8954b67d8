#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mediaprobe {

/// Text from outside as it may be shown on a terminal: control characters, and the invisible ones that reorder the text
/// around them, are written out ("\n", "\x1b", "\u202e"), and invalid UTF-8 becomes U+FFFD.
std::string TerminalText(std::string_view text);
/// The same of its first `most` characters, with "..." where there are more.
std::string ShortTerminalText(std::string_view text, std::size_t most);

}  // namespace mediaprobe
