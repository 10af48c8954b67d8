#pragma once

#include <string_view>

namespace media_server::picture_tags {

/// Whether `text` is well-formed XML without a document type and with its elements nested less deep than 64: Exiv2
/// follows the nesting with calls of its own, so that a hostile packet would run it out of stack.
bool IsShallowXml(std::string_view text);

}  // namespace media_server::picture_tags
