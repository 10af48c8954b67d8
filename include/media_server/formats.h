#pragma once

namespace media_server {

/// File name of the media server library and of its function that lists formats: a line for each with its kind
/// ("media", "image" or "svg"), short name and long name, set apart by tabs; static text.
inline constexpr char kLibraryName[] = "libMediaServer.so";
inline constexpr char kGetFormatList[] = "GetMediaServerFormatList";
using GetFormatListFunction = const char* (*)();

}  // namespace media_server
