#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace media_server {

/// The AI-generated-content label of an XMP packet: the text of the property AIGC in the namespace
/// "http://www.tc260.org.cn/ns/AIGC/1.0/", written as an element or as an attribute. Empty when there is none or the
/// packet is no well-formed XML up to it.
std::optional<std::string> ReadXmpAigcLabel(std::string_view packet);

}  // namespace media_server
