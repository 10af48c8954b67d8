#pragma once

#include <string_view>

namespace mediaprobe {

/// Whether the extension of `path` is one that pictures have, in any letter case. Only a hint: what a file is, its
/// content says.
bool IsNamedLikeAPicture(std::string_view path);

}  // namespace mediaprobe
