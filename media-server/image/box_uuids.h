#pragma once

#include <array>
#include <cstdint>

namespace media_server::image {

using BoxUuid = std::array<std::uint8_t, 16>;

/// XMP specification part 3, 1.2.7.1: be7acfcb-97a9-42e8-9c71-999491e3afac.
inline constexpr BoxUuid kXmpBox = {0xBE, 0x7A, 0xCF, 0xCB, 0x97, 0xA9, 0x42, 0xE8,
                                    0x9C, 0x71, 0x99, 0x94, 0x91, 0xE3, 0xAF, 0xAC};

/// Exif in JPEG 2000 files: the letters "JpgTiffExif->JP2".
inline constexpr BoxUuid kJpeg2000ExifBox = {'J', 'p', 'g', 'T', 'i', 'f', 'f', 'E',
                                             'x', 'i', 'f', '-', '>', 'J', 'P', '2'};

/// Exif as an image editor writes it: 0537cdab-9d0c-4431-a72a-fa561f2a113e.
inline constexpr BoxUuid kEditorExifBox = {0x05, 0x37, 0xCD, 0xAB, 0x9D, 0x0C, 0x44, 0x31,
                                           0xA7, 0x2A, 0xFA, 0x56, 0x1F, 0x2A, 0x11, 0x3E};

/// IPTC-IIM in JPEG 2000 files: 33c7a4d2-b81d-4723-a0ba-f1a3e097ad38.
inline constexpr BoxUuid kIptcBox = {0x33, 0xC7, 0xA4, 0xD2, 0xB8, 0x1D, 0x47, 0x23,
                                     0xA0, 0xBA, 0xF1, 0xA3, 0xE0, 0x97, 0xAD, 0x38};

/// IPTC-IIM as the same editor writes it: 09a14e97-c0b4-42e0-bebf-36df6f0ce36f.
inline constexpr BoxUuid kEditorIptcBox = {0x09, 0xA1, 0x4E, 0x97, 0xC0, 0xB4, 0x42, 0xE0,
                                           0xBE, 0xBF, 0x36, 0xDF, 0x6F, 0x0C, 0xE3, 0x6F};

/// Headers of a Canon raw file's picture, inside of its movie box: 85c0b687-820f-11e0-8111-f4ce462b6a48.
inline constexpr BoxUuid kCanonBox = {0x85, 0xC0, 0xB6, 0x87, 0x82, 0x0F, 0x11, 0xE0,
                                      0x81, 0x11, 0xF4, 0xCE, 0x46, 0x2B, 0x6A, 0x48};

}  // namespace media_server::image
