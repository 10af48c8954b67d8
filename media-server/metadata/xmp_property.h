#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace media_server {

struct XmpProperty {
  std::string_view name_space;
  std::string_view name;
};

/// The AI-generated-content label.
inline constexpr XmpProperty kXmpAigcLabel{"http://www.tc260.org.cn/ns/AIGC/1.0/", "AIGC"};
/// "straight", "pre-multiplied" or "none".
inline constexpr XmpProperty kXmpVideoAlphaMode{"http://ns.adobe.com/xmp/1.0/DynamicMedia/", "videoAlphaMode"};

/// The text of the first such property in an XMP packet, written as an element or as an attribute. Empty when there is
/// none or the packet is no well-formed XML up to it.
std::optional<std::string> ReadXmpProperty(std::string_view packet, const XmpProperty& property);

}  // namespace media_server
