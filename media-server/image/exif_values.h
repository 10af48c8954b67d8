#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Most bytes taken of one Exif value, and of the user comment, where the label of AI-generated content may stand.
inline constexpr std::size_t kMostExifValueBytes = 4 * 1024;
inline constexpr std::size_t kMostUserCommentBytes = 64 * 1024;

/// The directories of Exif. One tag means different things in different ones.
enum class ExifDirectory : std::uint8_t { kImage, kExif, kGps };

/// The tags that are read (Exif 2.32, tables 4, 7, 8 and 15), by directory.
enum ExifTag : std::uint16_t {
  kExifMake = 0x010F,
  kExifModel = 0x0110,
  kExifOrientation = 0x0112,
  kExifDateTime = 0x0132,

  kExifExposureTime = 0x829A,
  kExifDateTimeOriginal = 0x9003,
  kExifDateTimeDigitized = 0x9004,
  kExifOffsetTime = 0x9010,
  kExifOffsetTimeOriginal = 0x9011,
  kExifOffsetTimeDigitized = 0x9012,
  kExifShutterSpeedValue = 0x9201,
  kExifUserComment = 0x9286,

  kExifGpsLatitudeRef = 0x0001,
  kExifGpsLatitude = 0x0002,
  kExifGpsLongitudeRef = 0x0003,
  kExifGpsLongitude = 0x0004,
};

/// One value as it stands in the file: type and count may be odd ones for the tag.
struct ExifValue {
  ExifDirectory directory = ExifDirectory::kImage;
  std::uint16_t tag = 0;
  std::uint16_t type = 0;           ///< as TiffEntry's
  std::uint32_t count = 0;          ///< of numbers of that type, all of which are in `bytes`
  std::vector<std::uint8_t> bytes;  ///< in the byte order of the structure

  friend bool operator==(const ExifValue&, const ExifValue&) = default;
};

/// What is wanted of one picture's Exif: each tag at most once in a directory.
struct ExifValues {
  std::endian order = std::endian::little;
  std::vector<ExifValue> values;

  bool empty() const { return values.empty(); }

  /// Borrowed; null when there is none.
  const ExifValue* Find(ExifDirectory directory, std::uint16_t tag) const;

  friend bool operator==(const ExifValues&, const ExifValues&) = default;
};

/// Those values of the TIFF structure at `base` of `source` that tell the maker and model, orientation, dates,
/// exposure, place and user comment: of its first directory, its Exif directory and its GPS directory. All else is not
/// read, makers' notes and previews above all. What a value means is for ReadExifTags.
///
/// Exposure and dates that stand in the first directory instead of the Exif directory, as TIFF/EP (ISO 12234-2) has it,
/// are given as the Exif directory's. Of two entries with one tag the first is taken. A damaged structure gives what
/// can be read of it.
ExifValues ReadExifValues(IByteSource& source, std::uint64_t base);

/// The same from a format that keeps the three directories apart, each as the first directory of a TIFF structure of
/// its own; absent ones are empty. A structure whose byte order differs from the first readable one's is left out.
ExifValues ReadExifValues(std::span<const std::uint8_t> image, std::span<const std::uint8_t> exif,
                          std::span<const std::uint8_t> gps);

}  // namespace media_server::image
