#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mediaprobe {

/// Text from outside as it may be shown on a terminal: control characters, and the invisible ones that reorder the text
/// around them, are written out ("\n", "\x1b", "\u202e"), and invalid UTF-8 becomes U+FFFD. The joiners that scripts
/// and emoji need stay.
std::string TerminalText(std::string_view text);
/// The same of what fits `most_columns` of a terminal, with "..." after it where there is more.
std::string ShortTerminalText(std::string_view text, std::size_t most_columns);

}  // namespace mediaprobe
