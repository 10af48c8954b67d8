#pragma once

#include <cstdint>
#include <vector>

namespace media_server::image {

/// What stands in front of the TIFF structure in a carrier's Exif block.
enum class ExifPrefix {
  kNone,
  kOffset,  ///< four bytes that count those between them and the TIFF structure (ISO/IEC 23008-12 A.2.1)
};

/// Cuts the TIFF structure out of an Exif block, from its byte order mark on. Looks behind the prefix, then where
/// writers put it that forget the prefix or write JPEG's "Exif\0\0" too. Empty when it stands nowhere.
std::vector<std::uint8_t> TiffOfExifBlock(std::vector<std::uint8_t> block, ExifPrefix prefix);

}  // namespace media_server::image
