#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "record/media_record.h"

namespace mediaprobe {

/// A stream in the columns of the text form: "video 0", codec with profile, picture or sound format, bit rate, and
/// everything else. Ready for a terminal; a column may be empty.
constexpr std::size_t kStreamColumns = 5;
using StreamCells = std::array<std::string, kStreamColumns>;

/// The program's streams of all kinds in the order of the file.
std::vector<StreamCells> StreamLines(const ProgramRecord& program);

}  // namespace mediaprobe
