#pragma once

#include <string>

namespace service::mediainfo {

/// Whether `url` (UTF-8, not null) may be opened; then `path_out` receives what to open, else it is untouched, a line
/// was logged and CoreErrorText tells the reason.
///
/// A text that begins with "http" is taken as it is. A "file:/" URL loses its first six characters, whatever they are,
/// so that file:/C:/a.mp4 gives C:/a.mp4 and file:///home/a.mp4 gives //home/a.mp4. Other protocols are refused, and
/// everything else is a path. Paths must name an existing file. Where none is found, the letter case of the extension
/// is swapped in the caller's buffer and the file is looked for once more.
bool IsValidPath(char* url, std::string* path_out);

}  // namespace service::mediainfo
