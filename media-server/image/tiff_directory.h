#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_set>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Tags that lead from one directory to others (TIFF 6.0 supplement 1, Exif 2.32 section 4.6.3).
inline constexpr std::uint16_t kTiffSubDirectories = 0x014A;
inline constexpr std::uint16_t kTiffExifDirectory = 0x8769;
inline constexpr std::uint16_t kTiffGpsDirectory = 0x8825;

/// The number in `bytes`, at most 8 of them, in that byte order.
std::uint64_t NumberIn(std::span<const std::uint8_t> bytes, std::endian order);

/// One field of a directory. What it says is unchecked: `count` may be any number and `offset` lead anywhere.
struct TiffEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;   ///< TIFF 6.0, section 2: 1 BYTE, 2 ASCII, 3 SHORT, 4 LONG, 5 RATIONAL, ...
  std::uint64_t count = 0;  ///< of values, not of bytes
  /// The entry's last four bytes (eight in BigTIFF): the value itself when it fits in, otherwise where it lies.
  std::array<std::uint8_t, 8> field = {};

  /// Bytes of the whole value; empty when the number does not fit into 64 bits. A value of a type that no standard
  /// names is counted as bytes.
  std::optional<std::uint64_t> ByteSize() const;
};

struct TiffDirectory {
  std::vector<TiffEntry> entries;  ///< in the order of the file
  std::uint64_t next = 0;          ///< offset of the next directory in the chain; 0 for none

  /// The first entry of that tag, borrowed from the directory; null when there is none.
  const TiffEntry* Find(std::uint16_t tag) const;
};

/// Reads the directories of a TIFF structure (TIFF 6.0, BigTIFF, and the camera raw formats and JPEG XR, which differ
/// from TIFF in their magic number only) one at a time, each at most once, so that a structure that leads in circles
/// ends. Offsets are those of the structure: they count from its byte order mark.
class TiffWalker {
 public:
  static constexpr std::uint16_t kMagicTiff = 42;
  static constexpr std::uint16_t kMagicBigTiff = 43;
  static constexpr std::uint16_t kMagicPanasonic = 0x55;
  static constexpr std::uint16_t kMagicOlympus = 0x4F52;
  static constexpr std::uint16_t kMagicOlympusSlim = 0x5352;
  static constexpr std::uint16_t kMagicJpegXr = 0x01BC;

  static constexpr std::size_t kMostDirectories = 64;  ///< further ones are not read
  static constexpr std::size_t kMostEntries = 512;     ///< of one directory; the rest is left out

  /// Reads the header at `base` of `source`, which is borrowed. Empty when none of the magics stands there.
  static std::optional<TiffWalker> Open(IByteSource& source, std::uint64_t base);

  std::endian order() const { return order_; }
  std::uint16_t magic() const { return magic_; }
  std::uint64_t first() const { return first_; }

  /// The directory at `offset`, with the entries that are whole when it is cut short. Empty when `offset` is 0 or was
  /// read before, when no entry can be read there, or after kMostDirectories directories.
  std::optional<TiffDirectory> Read(std::uint64_t offset);

  /// Where the value of `entry` begins, counted from the start of the source; empty when it lies in the entry itself.
  std::optional<std::uint64_t> ValuePosition(const TiffEntry& entry) const;

  /// All bytes of the value, in the byte order of the structure. Empty when it has none, is longer than `most_bytes`
  /// or the source ends before it does.
  std::optional<std::vector<std::uint8_t>> Value(const TiffEntry& entry, std::size_t most_bytes) const;

  /// Up to `most` of the values, when they are whole numbers without sign of any width; otherwise none.
  std::vector<std::uint64_t> Numbers(const TiffEntry& entry, std::size_t most) const;

  /// The first value of tag `tag`, as Numbers reads it.
  std::optional<std::uint64_t> Number(const TiffDirectory& directory, std::uint16_t tag) const;

 private:
  TiffWalker(IByteSource& source, std::uint64_t base) : source_(&source), base_(base) {}

  std::size_t FieldSize() const { return magic_ == kMagicBigTiff ? 8 : 4; }
  std::vector<std::uint8_t> ReadAt(std::uint64_t offset, std::size_t size) const;

  IByteSource* source_;
  std::uint64_t base_;
  std::endian order_ = std::endian::little;
  std::uint16_t magic_ = kMagicTiff;
  std::uint64_t first_ = 0;
  std::unordered_set<std::uint64_t> visited_;
};

}  // namespace media_server::image
