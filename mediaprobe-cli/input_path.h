#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mediaprobe {

/// An input in the two forms that probing needs.
struct InputPath {
  std::string url;                        ///< what the service is given
  std::optional<std::string> local_path;  ///< absolute path of a local file, empty for a network URL
};

/// Takes an input as a user gives it. "http://" and "https://" URLs pass. "file:" and "files:" URLs become the path
/// that they name, percent escapes read where no file has the literal name. Everything else is a path, whatever it
/// looks like, and is made absolute. A path with ":/" in it, which a service would take for a URL with a protocol, is
/// given as the "file:" URL that the service turns back into the same path.
InputPath ToInputPath(std::string_view input);

}  // namespace mediaprobe
