#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "media_record.h"

namespace mediaprobe {

/// A stream in the columns of the text form: "video 0", codec with profile, picture or sound format, bit rate, and
/// everything else. Ready for a terminal; a column may be empty.
constexpr std::size_t kStreamColumns = 5;
using StreamCells = std::array<std::string, kStreamColumns>;

StreamCells VideoCells(const VideoRecord& video);
StreamCells AudioCells(const AudioRecord& audio);
StreamCells SubpictureCells(const SubpictureRecord& subpicture);

}  // namespace mediaprobe
