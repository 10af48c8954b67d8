#pragma once

#include <string>
#include <string_view>

#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server {

/// A TIFF structure with nothing but a maker.
inline std::string MakerOnly(std::string_view maker) {
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(0x010F, maker)});
  return exif.Bytes();
}

/// The headers of a JPEG picture of 32 x 16 pixels with that Exif; none when it is empty.
inline std::string JpegWithExif(const std::string& exif) {
  using namespace std::string_literals;
  const std::string app1 = "Exif\0\0"s + exif;
  const std::string segment = exif.empty() ? "" : "\xff\xe1" + Be(app1.size() + 2, 2) + app1;
  // Start of image, Exif, frame of one component, end of image.
  return "\xff\xd8" + segment + "\xff\xc0" + Be(11, 2) + "\x08" + Be(16, 2) + Be(32, 2) + "\x01\x01\x11\0"s +
         "\xff\xd9";
}

}  // namespace media_server
