#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// GIF (Graphics Interchange Format, version 89a): size of the logical screen, alpha where the first frame has a
/// transparent colour, duration as the sum of the delays as they stand, and XMP. Nothing in a GIF tells how many frames
/// it has or where they lie, so all its blocks are walked, other than for stills of other formats. The walk ends after
/// kMostGifBytes; the animation is then left empty, since a part of the sum would be a wrong answer. A file that is
/// cut short has the frames that it still has. False when the header is cut short.
bool ReadGif(IByteSource& source, PictureHeaders& headers);

/// A file of this length takes less than 0.1 s to walk, and some 0.5 s when it is all empty blocks.
inline constexpr std::uint64_t kMostGifBytes = std::uint64_t{128} << 20;

}  // namespace media_server::image
