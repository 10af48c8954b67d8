#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mediaprobe {

/// Whether the name that `path` ends with has the bracket part of a picture sequence: numbers and ranges of numbers
/// between commas, as in "img_[0001-0100].png" and "img_[1-3,7].png". The last brackets of the name count.
bool IsSequencePattern(std::string_view path);

/// The path of the first frame: the brackets replaced by the first number in them. The path itself where it is no
/// pattern.
std::string FirstFrame(std::string_view path);

/// Whether the numbers are told in several pieces: "[1-3,7]".
bool HasSeveralRanges(std::string_view path);

}  // namespace mediaprobe
