#pragma once

#include <cstdint>

/// QK_MediaInfoLib.dll answers the size of pictures by path, for callers that need nothing else. Both functions read
/// headers only, may be called from any thread, and write their outputs, none of which may be null, only when they
/// answer true.
namespace media_server {

inline constexpr char kImageLibraryName[] = "QK_MediaInfoLib.dll";
inline constexpr char kGetImageSize[] = "GetImageSize";
inline constexpr char kGetImageSequenceSize[] = "GetImageSequenceSize";

/// Pixels of the stored picture in the file at `path` (UTF-8), before it is flipped and rotated to be shown. False, and
/// the reason in CoreErrorText, when the file is no image or does not tell.
using GetImageSizeFunction = bool (*)(const char* path, std::int32_t* width, std::int32_t* height);

/// The same of the first frame of a sequence, and its number of frames. `pattern` is a path with a bracket part, such
/// as "dir/f_[0001-0100,7].png", or that of a file, which is a sequence of one frame. Only the first frame is opened.
/// False also for a pattern without frames and for one of more frames than the number holds.
using GetImageSequenceSizeFunction = bool (*)(const char* pattern, std::int32_t* width, std::int32_t* height,
                                              std::uint32_t* frame_count);

}  // namespace media_server
