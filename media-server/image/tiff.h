#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// TIFF 6.0, BigTIFF and the camera raw formats that are built of TIFF directories (DNG, TIFF/EP and what the makers
/// derived from it). Which of them it is shows in what the directories hold, never in a name.
///
/// The size is that of the first picture of full resolution in a TIFF file; in a camera raw file that of the sensor's
/// picture as it is stored, or, where no directory tells it, the size that Exif gives for the finished picture. False
/// when no directory can be read or none tells a size.
bool ReadTiff(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
