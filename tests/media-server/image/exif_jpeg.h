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

/// The headers of a JPEG picture of 32 x 16 pixels with those segments in front.
inline std::string JpegWith(const std::string& segments) {
  using namespace std::string_literals;
  // Start of image, segments, frame of one component, end of image.
  return "\xff\xd8" + segments + "\xff\xc0" + Be(11, 2) + "\x08" + Be(16, 2) + Be(32, 2) + "\x01\x01\x11\0"s +
         "\xff\xd9";
}

/// An application segment by its number.
inline std::string AppSegment(int number, const std::string& content) {
  return std::string{'\xff', static_cast<char>(0xE0 + number)} + Be(content.size() + 2, 2) + content;
}

inline std::string ExifSegment(const std::string& exif) {
  using namespace std::string_literals;
  return AppSegment(1, "Exif\0\0"s + exif);
}

/// A JPEG picture with that Exif; none when it is empty.
inline std::string JpegWithExif(const std::string& exif) { return JpegWith(exif.empty() ? "" : ExifSegment(exif)); }

}  // namespace media_server
