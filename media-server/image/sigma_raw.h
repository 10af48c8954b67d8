#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Sigma's raw format (X3F, "Foveon X3F" versions 2 to 4), as measured. Size and rotation come from the header; Exif
/// from the JPEG preview or, in files of cameras that wrote none, out of the section of properties. False when the
/// header is cut short or tells no size.
bool ReadSigmaRaw(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
