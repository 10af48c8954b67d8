#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Most bytes taken of one Exif value, and of the user comment, where the label of AI-generated content may stand.
inline constexpr std::size_t kMostExifValueBytes = 4 * 1024;
inline constexpr std::size_t kMostUserCommentBytes = 64 * 1024;

/// A small well-formed TIFF structure with those entries of the one at `base` of `source` that tell the maker and
/// model, orientation, dates, exposure, place and user comment: its first directory, its Exif directory and its GPS
/// directory. The values keep their type, count and byte order, odd ones too; what a tag means is for the reader of the
/// result. Everything else is left out, makers' notes and previews above all, so that a decoder gets neither more
/// bytes than it needs nor offsets that lead astray.
///
/// Exposure and dates that stand in the first directory instead of the Exif directory, as TIFF/EP (ISO 12234-2) has it,
/// are given in the Exif directory. Of two entries with one tag the first is taken. A damaged structure gives what can
/// be read of it; nothing at all when nothing wanted can.
std::vector<std::uint8_t> CompactExif(IByteSource& source, std::uint64_t base);

/// The same from a format that keeps the three directories apart, each as the first directory of a TIFF structure of
/// its own; absent ones are empty. A structure whose byte order differs from the first readable one's is left out.
std::vector<std::uint8_t> CompactExif(std::span<const std::uint8_t> image, std::span<const std::uint8_t> exif,
                                      std::span<const std::uint8_t> gps);

}  // namespace media_server::image
