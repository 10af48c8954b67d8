#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mediaprobe {

/// An input in the forms that probing needs.
struct InputPath {
  std::string url;                        ///< what the media, SVG and UUID services are given for one file
  std::optional<std::string> local_path;  ///< absolute path of a local file or sequence, empty for a network URL
  bool is_sequence = false;               ///< a numbered picture sequence; the path holds its bracket part
};

/// Takes an input as a user gives it. "http://" and "https://" URLs pass. "file:" and "files:" URLs become the path
/// that they name, percent escapes read where no file has the literal name. Everything else is a path, whatever it
/// looks like, and is made absolute. A path with ":/" in it, which a service would take for a URL with a protocol, is
/// given as the "file:" URL that the service turns back into the same path.
///
/// A "files:" URL, and a path whose name has a sequence's bracket part, is a sequence unless a file has that very name.
InputPath ToInputPath(std::string_view input);

bool IsNetworkUrl(std::string_view input);

/// The URL that the image service turns back into the path. The path must be there.
std::string ImageUrl(const InputPath& path);
/// Likewise for the UUID service, which also takes network URLs, to refuse them.
std::string UuidUrl(const InputPath& path);

/// Takes over `url`, in which a service may have changed the letter case of the file's extension, where that names a
/// file.
void FollowService(InputPath& path, const std::string& url);

}  // namespace mediaprobe
