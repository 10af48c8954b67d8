#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace svg_decoder {

/// The document that `url` (UTF-8: a path, or "file:/" and a path) names, unpacked where it is gzip data (.svgz).
/// Empty, with the reason in CoreErrorText, for network URLs, for what is no regular file or cannot be read, for broken
/// gzip data, and for more than 32 MB, packed or unpacked.
std::optional<std::string> ReadSource(std::string_view url);

/// `packed` unpacked if it is gzip data, else as it is; empty on the same terms.
std::optional<std::string> Unpack(std::string packed);

}  // namespace svg_decoder
