#include "media-server/image/compact_exif.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>
#include <string_view>
#include <utility>

#include "media-server/image/tiff_directory.h"
#include "media-server/io/span_source.h"

namespace media_server::image {
namespace {

/// A tag worth keeping and the longest value to keep.
struct WantedTag {
  std::uint16_t tag;
  std::size_t most_bytes = kMostExifValueBytes;
};

constexpr std::array kImageTags = {
    WantedTag{0x010F},  // Make
    WantedTag{0x0110},  // Model
    WantedTag{0x0112},  // Orientation
    WantedTag{0x0132},  // DateTime
};

constexpr std::array kExifTags = {
    WantedTag{0x829A},                         // ExposureTime
    WantedTag{0x9003},                         // DateTimeOriginal
    WantedTag{0x9004},                         // DateTimeDigitized
    WantedTag{0x9010},                         // OffsetTime
    WantedTag{0x9011},                         // OffsetTimeOriginal
    WantedTag{0x9012},                         // OffsetTimeDigitized
    WantedTag{0x9201},                         // ShutterSpeedValue
    WantedTag{0x9286, kMostUserCommentBytes},  // UserComment
};

constexpr std::array kGpsTags = {
    WantedTag{0x0001},  // GPSLatitudeRef
    WantedTag{0x0002},  // GPSLatitude
    WantedTag{0x0003},  // GPSLongitudeRef
    WantedTag{0x0004},  // GPSLongitude
};

struct KeptEntry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::vector<std::uint8_t> value;
};

/// One directory of the result, by ascending tag.
using KeptDirectory = std::vector<KeptEntry>;

struct KeptExif {
  std::endian order = std::endian::little;
  KeptDirectory image;
  KeptDirectory exif;
  KeptDirectory gps;
};

/// Adds the wanted entries that `kept` has none of.
void Keep(const TiffWalker& walker, const TiffDirectory& directory, std::span<const WantedTag> wanted,
          KeptDirectory& kept) {
  for (const WantedTag& want : wanted) {
    const TiffEntry* entry = directory.Find(want.tag);
    if (!entry) continue;
    if (std::ranges::find(kept, want.tag, &KeptEntry::tag) != kept.end()) continue;
    auto value = walker.Value(*entry, want.most_bytes);
    if (!value) continue;
    kept.push_back({entry->tag, entry->type, static_cast<std::uint32_t>(entry->count), std::move(*value)});
  }
  std::ranges::sort(kept, {}, &KeptEntry::tag);
}

void KeepFrom(TiffWalker& walker, std::uint64_t offset, std::span<const WantedTag> wanted, KeptDirectory& kept) {
  if (const auto directory = walker.Read(offset)) Keep(walker, *directory, wanted, kept);
}

constexpr std::uint32_t kHeaderSize = 8;
constexpr std::size_t kInlineSize = 4;

class Writer {
 public:
  explicit Writer(std::endian order) : order_(order) {}

  void Number(std::uint32_t value, unsigned width) {
    for (unsigned i = 0; i < width; ++i) {
      const unsigned shift = 8 * (order_ == std::endian::big ? width - 1 - i : i);
      bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
  }

  /// Bytes and, where `size` is larger, zeros behind them.
  void Bytes(std::span<const std::uint8_t> bytes, std::size_t size) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    bytes_.insert(bytes_.end(), size - bytes.size(), 0);
  }

  /// A directory with its values right behind it.
  void Directory(const KeptDirectory& directory) {
    auto value_offset = static_cast<std::uint32_t>(bytes_.size() + TableSize(directory));
    Number(static_cast<std::uint32_t>(directory.size()), 2);
    for (const KeptEntry& entry : directory) {
      Number(entry.tag, 2);
      Number(entry.type, 2);
      Number(entry.count, 4);
      if (entry.value.size() <= kInlineSize) {
        Bytes(entry.value, kInlineSize);
        continue;
      }
      Number(value_offset, 4);
      value_offset += static_cast<std::uint32_t>(PaddedSize(entry.value));
    }
    Number(0, 4);  // no next directory
    for (const KeptEntry& entry : directory) {
      if (entry.value.size() > kInlineSize) Bytes(entry.value, PaddedSize(entry.value));
    }
  }

  /// Bytes that Directory appends; none for an empty one, which is not written.
  static std::uint32_t Size(const KeptDirectory& directory) {
    if (directory.empty()) return 0;
    std::size_t size = TableSize(directory);
    for (const KeptEntry& entry : directory) size += entry.value.size() > kInlineSize ? PaddedSize(entry.value) : 0;
    return static_cast<std::uint32_t>(size);
  }

  std::vector<std::uint8_t> Take() { return std::move(bytes_); }

 private:
  static std::size_t TableSize(const KeptDirectory& directory) { return 2 + 12 * directory.size() + 4; }
  /// Values begin on a word boundary (TIFF 6.0, section 2).
  static std::size_t PaddedSize(const std::vector<std::uint8_t>& value) { return value.size() + value.size() % 2; }

  std::endian order_;
  std::vector<std::uint8_t> bytes_;
};

KeptEntry Pointer(std::uint16_t tag, std::uint32_t offset, std::endian order) {
  Writer value(order);
  value.Number(offset, 4);
  return {tag, /*type=*/4, /*count=*/1, value.Take()};
}

std::vector<std::uint8_t> Write(const KeptExif& kept) {
  if (kept.image.empty() && kept.exif.empty() && kept.gps.empty()) return {};
  // The pointers' tags are above all others of the directory, so that it stays in order.
  const auto with_pointers = [&kept](std::uint32_t exif_offset, std::uint32_t gps_offset) {
    KeptDirectory image = kept.image;
    if (!kept.exif.empty()) image.push_back(Pointer(kTiffExifDirectory, exif_offset, kept.order));
    if (!kept.gps.empty()) image.push_back(Pointer(kTiffGpsDirectory, gps_offset, kept.order));
    return image;
  };
  const std::uint32_t exif_offset = kHeaderSize + Writer::Size(with_pointers(0, 0));
  const KeptDirectory image = with_pointers(exif_offset, exif_offset + Writer::Size(kept.exif));

  Writer writer(kept.order);
  const std::string_view mark = kept.order == std::endian::big ? "MM" : "II";
  for (const char letter : mark) writer.Number(static_cast<std::uint8_t>(letter), 1);
  writer.Number(TiffWalker::kMagicTiff, 2);
  writer.Number(kHeaderSize, 4);
  for (const KeptDirectory* directory : {&image, &kept.exif, &kept.gps}) {
    if (!directory->empty()) writer.Directory(*directory);
  }
  return writer.Take();
}

}  // namespace

std::vector<std::uint8_t> CompactExif(IByteSource& source, std::uint64_t base) {
  auto walker = TiffWalker::Open(source, base);
  const auto image = walker ? walker->Read(walker->first()) : std::nullopt;
  if (!image) return {};
  KeptExif kept;
  kept.order = walker->order();
  Keep(*walker, *image, kImageTags, kept.image);
  KeepFrom(*walker, walker->Number(*image, kTiffExifDirectory).value_or(0), kExifTags, kept.exif);
  KeepFrom(*walker, walker->Number(*image, kTiffGpsDirectory).value_or(0), kGpsTags, kept.gps);
  Keep(*walker, *image, kExifTags, kept.exif);
  return Write(kept);
}

std::vector<std::uint8_t> CompactExif(std::span<const std::uint8_t> image, std::span<const std::uint8_t> exif,
                                      std::span<const std::uint8_t> gps) {
  struct Part {
    std::span<const std::uint8_t> bytes;
    std::span<const WantedTag> wanted;
    KeptDirectory KeptExif::*kept;
  };
  const std::array parts = {Part{image, kImageTags, &KeptExif::image}, Part{exif, kExifTags, &KeptExif::exif},
                            Part{gps, kGpsTags, &KeptExif::gps}};
  KeptExif kept;
  std::optional<std::endian> order;
  for (const Part& part : parts) {
    SpanSource source(part.bytes);
    auto walker = TiffWalker::Open(source, 0);
    if (!walker || walker->order() != order.value_or(walker->order())) continue;
    order = kept.order = walker->order();
    KeepFrom(*walker, walker->first(), part.wanted, kept.*part.kept);
  }
  return Write(kept);
}

}  // namespace media_server::image
