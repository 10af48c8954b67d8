#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/container/format_identity.h"

namespace media_server {

/// Rows of the format tables, one maker for each kind of content.
constexpr FormatIdentity Media(std::string_view demuxer, std::string_view short_name, std::string_view long_name) {
  return {ContentKind::kMedia, demuxer, {short_name, long_name}};
}
constexpr FormatIdentity Still(std::string_view short_name, std::string_view long_name) {
  return {ContentKind::kStillImage, {}, {short_name, long_name}};
}
constexpr FormatIdentity Other(std::string_view short_name, std::string_view long_name) {
  return {ContentKind::kOther, {}, {short_name, long_name}};
}

inline constexpr FormatIdentity kJpeg2000 = Still("jp2", "JPEG 2000");
inline constexpr FormatIdentity kJpegXl = Still("jxl", "JPEG XL");
inline constexpr FormatIdentity kMotionJpeg2000 = Media("mov", "mj2", "Motion JPEG 2000");

/// Bytes that stand at one or two fixed places and are long enough to prove the format alone.
struct Magic {
  std::size_t offset;
  std::string_view bytes;
  std::size_t second_offset;
  std::string_view second_bytes;  ///< empty: one place is enough
  FormatIdentity identity;
};

/// All formats that fixed bytes prove, those with the longer proof before others that begin alike.
std::span<const Magic> FormatMagics();

/// Whether `head` has `bytes` at `offset`.
inline bool Holds(std::span<const std::uint8_t> head, std::size_t offset, std::string_view bytes) {
  return head.size() >= offset && AsText(head.subspan(offset)).starts_with(bytes);
}

}  // namespace media_server
