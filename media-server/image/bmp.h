#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "media-server/image/picture_headers.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Windows and OS/2 bitmaps with every length of header. False when the header is cut short.
bool ReadBmp(IByteSource& source, PictureHeaders& headers);

/// What the header of a device-independent bitmap tells, as it stands in bitmap files and in icons.
struct DibHeader {
  PictureSize size;  ///< the height without the sign that tells rows from the top down
  std::uint16_t bits_per_pixel = 0;
  bool has_alpha_mask = false;
};

/// Longest start of a device-independent bitmap that ReadDibHeader needs.
inline constexpr std::size_t kDibStartSize = 56;

/// Reads the header from its first kDibStartSize bytes; empty when they end before its bits per pixel,
/// or its length is none that exists.
std::optional<DibHeader> ReadDibHeader(std::span<const std::uint8_t> bytes);

}  // namespace media_server::image
