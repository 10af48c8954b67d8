#pragma once

#include <string>

#include "media-server/codec/picture_parameters.h"

namespace media_server::codec {

/// Codecs whose profiles have names here.
enum class ProfiledCodec { kH264, kHevc, kVvc, kAv1, kVp9, kMpeg2, kMpeg4Visual, kProRes, kVc1, kDnxhd, kMjpeg };

/// Profile, level and tier of a stream as people write them, ASCII: "High@L4.1", "Main 10@L5.1@Main", "Main@High",
/// "Profile 0", "422 HQ". A level or tier that is not known is left out; empty when the profile has no name. At most 64
/// characters.
std::string ProfileText(ProfiledCodec codec, const PictureParameters& picture);

}  // namespace media_server::codec
