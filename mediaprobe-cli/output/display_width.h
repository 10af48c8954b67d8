#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// Text measured by the columns of a terminal. Every text is valid UTF-8 without control characters, as TerminalText
/// gives it.
namespace mediaprobe {

/// Columns that the text takes: two for wide characters such as ideographs and emoji, none for combining marks and the
/// invisible ones, one for all others.
std::size_t DisplayWidth(std::string_view text);

/// Bytes of the longest start of the text that fits `columns`, with the marks that combine with its last character.
std::size_t FittingBytes(std::string_view text, std::size_t columns);

/// The text in lines of at most `columns`, broken at spaces, which go, and beside wide characters; words that are
/// longer than a line are broken where it ends. A line holds at least one character. The lines are parts of `text`.
std::vector<std::string_view> WrappedLines(std::string_view text, std::size_t columns);

}  // namespace mediaprobe
