#pragma once

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Netpbm's formats: PBM, PGM, PPM in text and binary (P1 to P6), PAM (P7), and the portable float maps PF and Pf, each
/// as its manual page lays the header down. False when the header does not end within the first 64 KiB.
bool ReadNetpbm(IByteSource& source, PictureHeaders& headers);

}  // namespace media_server::image
