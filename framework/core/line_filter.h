#pragma once

#include <span>
#include <string>
#include <string_view>

namespace core {

/// `line` with "***" in place of every occurrence of one of `texts` (none empty). Occurrences that overlap, of one text
/// or of several, become one mask, so that no part of any of them is left to read.
std::string MaskTexts(std::string_view line, std::span<const std::string> texts);

/// `text` as one line of valid UTF-8: control characters, and those that reorder what stands around them, are written
/// as C escapes (\n, \x1B, \u0085 for those past ASCII), invalid sequences as U+FFFD. A backslash stays as it is: file
/// names are meant to be read.
std::string OneLine(std::string_view text);

}  // namespace core
