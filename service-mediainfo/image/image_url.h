#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What the URL of an image names: one file, or with "files:" a numbered sequence of them.
namespace service::mediainfo::image {

struct ImageUrl {
  std::u16string_view path;         ///< part of the URL; empty when its scheme is unknown
  std::optional<bool> is_sequence;  ///< empty when the scheme is unknown
};

/// Takes "file://", "files://", "file:/" or "files:/", the first that fits, off `url`. A prefix fits when two slashes
/// or none follow it, so that "file:///a" is "file:/" and "//a". Schemes are lower-case.
ImageUrl ParseImageUrl(std::u16string_view url);

/// The first frame's path: what lies between the last "[" and the last "]" of `path` is replaced by the part before its
/// last "-", and with it the brackets. A path without such a part is the frame's own. Without any "]" the part runs to
/// the end, and the path but its last character follows once more.
std::u16string FirstFramePath(std::u16string_view path);

/// How many frames the bracket part of `path` names: pieces set apart by commas, each a single frame or a range whose
/// bounds stand before and after its last "-". A bound is its leading decimal digits, none are 0, and 2^64 - 1 stands
/// for all that is larger; a range that runs backwards has no frames. Counted modulo 2^32, in the same time however
/// many there are. 1 for a path without a bracket part.
std::uint32_t CountFrames(std::u16string_view path);

}  // namespace service::mediainfo::image
