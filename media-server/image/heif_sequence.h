#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Fills in what the movie box of an image sequence tells (ISO/IEC 23008-12 clause 7): its animation, and size, coded
/// picture and alpha where the primary item left them open. Reads at most some 32 KiB.
void ReadHeifSequence(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
