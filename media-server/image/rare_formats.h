#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Formats that are seldom met and whose headers take a few lines each. All are false when the header is cut short.

/// farbfeld: magic, width, height; always with alpha (farbfeld(5)).
bool ReadFarbfeld(IByteSource& source, PictureHeaders& headers);

/// Digital Picture Exchange: the date in the file information header and the image information header with its elements
/// (SMPTE ST 268 sections 5.1 and 5.2), of either byte order.
bool ReadDpx(IByteSource& source, PictureHeaders& headers);

/// GIMP's own format: the canvas (GIMP's devel-docs/xcf.txt, "The image structure").
bool ReadXcf(IByteSource& source, PictureHeaders& headers);

/// Interleaved bitmap: the BMHD chunk (EA IFF 85, "ILBM" section 2.2).
bool ReadIlbm(IByteSource& source, PictureHeaders& headers);

/// Silicon Graphics image (The SGI Image File Format, version 1.00, "The Header").
bool ReadSgi(IByteSource& source, PictureHeaders& headers);

/// Sun raster file (rasterfile(5)).
bool ReadSunRaster(IByteSource& source, PictureHeaders& headers);

/// ZSoft PCX (PCX technical reference manual, "Image file (.PCX) format").
bool ReadPcx(IByteSource& source, PictureHeaders& headers);

/// JPEG Network Graphics: JHDR (JNG specification 1.0 section 2.1.1).
bool ReadJng(IByteSource& source, PictureHeaders& headers);

/// Better Portable Graphics: heic_file's first fields (BPG specification section 3).
bool ReadBpg(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
