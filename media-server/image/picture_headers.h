#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/rational.h"
#include "media-server/image/exif_values.h"
#include "media_server/image_info.h"

namespace media_server::image {

/// Pixels of the stored picture, before it is flipped and rotated to be shown.
struct PictureSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// What to do with the stored picture to show it upright: flip it, then rotate it clockwise.
struct Orientation {
  imagecore::Flip flip = imagecore::kFlipNone;
  std::int32_t rotation_degrees = 0;  ///< 0, 90, 180 or 270

  friend bool operator==(const Orientation&, const Orientation&) = default;
};

/// Of a picture that moves: one pass over all frames.
struct Animation {
  double duration_s = 0;
  /// Frames per second, where it is told or all frames last equally long; of a GIF the mean over the pass.
  std::optional<core::Rational> frame_rate;
};

/// Metadata as they lie in the file, each cut out of its carrier's wrapping. Bounded: see kMostMetadataBytes.
struct EmbeddedMetadata {
  std::vector<std::uint8_t> exif;  ///< a TIFF structure from its byte order mark on, where it lies in one piece
  ExifValues exif_values;          ///< what is wanted of Exif, however it lies in the file
  std::string xmp;                 ///< the packet; the first where there are several
  std::vector<std::uint8_t> iptc;  ///< IPTC-IIM data sets
  std::string aigc;                ///< a text chunk that holds the label of AI-generated content itself

  /// Seconds since 1970 UTC, where the format has fields of its own for them.
  std::optional<std::int64_t> created;
  std::optional<std::int64_t> modified;

  /// Packets behind the first, at most three: a label may have been added in one of its own.
  std::vector<std::string> further_xmp;

  /// Keeps a packet in the order in which they come; an empty one and those past the last are dropped.
  void AddXmp(std::string_view packet) {
    constexpr std::size_t kMostFurtherPackets = 3;
    if (packet.empty()) return;
    if (xmp.empty()) {
      xmp = packet;
    } else if (further_xmp.size() < kMostFurtherPackets) {
      further_xmp.emplace_back(packet);
    }
  }
};

/// Most bytes taken of one payload; longer ones are left out, XMP and Exif beyond it being previews and edit histories.
inline constexpr std::size_t kMostMetadataBytes = 256 * 1024;

/// What the headers of one picture file tell. Whatever they do not tell is empty.
struct PictureHeaders {
  imagecore::PictureType type = imagecore::kPictureOther;
  std::uint32_t fourcc = 0;  ///< of the coded picture, first character in the least significant byte
  std::optional<PictureSize> size;
  std::optional<imagecore::AlphaMode> alpha;
  std::optional<int> bit_depth;        ///< bits per component as decoded, 1 to 16
  std::optional<int> chroma_sampling;  ///< as codec::PictureParameters'
  /// As the container itself tells it, where it has a say: it then holds over what Exif tells.
  std::optional<Orientation> orientation;
  std::optional<Animation> animation;
  EmbeddedMetadata metadata;
};

}  // namespace media_server::image
