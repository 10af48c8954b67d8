#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// DirectDraw surfaces: DDS_HEADER and, behind the four characters "DX10", DDS_HEADER_DXT10 (Microsoft's programming
/// guide for DDS). False when the header is cut short.
bool ReadDds(IByteSource& source, PictureHeaders& headers);

/// Khronos textures, versions 1 and 2 (KTX File Format Specification). A texture of one dimension is one pixel high.
/// False when the header is cut short.
bool ReadKtx(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
