#pragma once

#include <string_view>

namespace media_server::image {

// What segments of metadata begin with in JPEG, zeros included. Raw profiles of PNG have it in front as well.
inline constexpr std::string_view kXmpSegment{"http://ns.adobe.com/xap/1.0/\0", 29};
inline constexpr std::string_view kPhotoshopSegment{"Photoshop 3.0\0", 14};

}  // namespace media_server::image
