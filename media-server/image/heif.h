#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// High Efficiency Image File Format, ISO/IEC 23008-12: the primary item, or the picture track of a sequence without
/// one. Size is that of the stored picture: transformations (`irot`, `imir`) are told as orientation, a clean aperture
/// (`clap`) is not applied. The container's transformations are all there are: Exif's orientation only repeats them
/// (clause A.2.1), so that orientation is always set. False when neither tells a size.
bool ReadHeif(IByteSource& source, PictureHeaders& headers);

/// The same box structure with AV1 pictures (AV1 Image File Format 1.1).
bool ReadAvif(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
