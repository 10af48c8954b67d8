#include "media-server/image/exif_values.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "media-server/image/tiff_directory.h"
#include "media-server/io/span_source.h"

namespace media_server::image {
namespace {

/// The tags that are wanted of one directory.
struct WantedTags {
  ExifDirectory directory;
  std::span<const ExifTag> tags;
};

constexpr std::array kImageTags = {kExifMake, kExifModel, kExifOrientation, kExifDateTime};
constexpr std::array kPhotoTags = {kExifExposureTime,      kExifDateTimeOriginal,   kExifDateTimeDigitized,
                                   kExifOffsetTime,        kExifOffsetTimeOriginal, kExifOffsetTimeDigitized,
                                   kExifShutterSpeedValue, kExifUserComment};
constexpr std::array kPlaceTags = {kExifGpsLatitudeRef, kExifGpsLatitude, kExifGpsLongitudeRef, kExifGpsLongitude};

constexpr WantedTags kOfImage = {ExifDirectory::kImage, kImageTags};
constexpr WantedTags kOfExif = {ExifDirectory::kExif, kPhotoTags};
constexpr WantedTags kOfGps = {ExifDirectory::kGps, kPlaceTags};

/// Adds the wanted values that `kept` has none of.
void Keep(const TiffWalker& walker, const TiffDirectory& directory, const WantedTags& wanted, ExifValues& kept) {
  for (const ExifTag tag : wanted.tags) {
    const TiffEntry* entry = directory.Find(tag);
    if (!entry || kept.Find(wanted.directory, tag)) continue;
    auto value = walker.Value(*entry, tag == kExifUserComment ? kMostUserCommentBytes : kMostExifValueBytes);
    if (!value) continue;
    kept.values.push_back(
        {wanted.directory, tag, entry->type, static_cast<std::uint32_t>(entry->count), std::move(*value)});
  }
}

void KeepFrom(TiffWalker& walker, std::uint64_t offset, const WantedTags& wanted, ExifValues& kept) {
  if (const auto directory = walker.Read(offset)) Keep(walker, *directory, wanted, kept);
}

}  // namespace

const ExifValue* ExifValues::Find(ExifDirectory directory, std::uint16_t tag) const {
  const auto found = std::ranges::find_if(
      values, [&](const ExifValue& value) { return value.tag == tag && value.directory == directory; });
  return found == values.end() ? nullptr : &*found;
}

ExifValues ReadExifValues(IByteSource& source, std::uint64_t base) {
  auto walker = TiffWalker::Open(source, base);
  const auto image = walker ? walker->Read(walker->first()) : std::nullopt;
  if (!image) return {};
  ExifValues kept;
  kept.order = walker->order();
  Keep(*walker, *image, kOfImage, kept);
  KeepFrom(*walker, walker->Number(*image, kTiffExifDirectory).value_or(0), kOfExif, kept);
  KeepFrom(*walker, walker->Number(*image, kTiffGpsDirectory).value_or(0), kOfGps, kept);
  Keep(*walker, *image, kOfExif, kept);
  return kept;
}

ExifValues ReadExifValues(std::span<const std::uint8_t> image, std::span<const std::uint8_t> exif,
                          std::span<const std::uint8_t> gps) {
  struct Part {
    std::span<const std::uint8_t> bytes;
    const WantedTags& wanted;
  };
  ExifValues kept;
  std::optional<std::endian> order;
  for (const Part& part : {Part{image, kOfImage}, Part{exif, kOfExif}, Part{gps, kOfGps}}) {
    SpanSource source(part.bytes);
    auto walker = TiffWalker::Open(source, 0);
    if (!walker || walker->order() != order.value_or(walker->order())) continue;
    order = kept.order = walker->order();
    KeepFrom(*walker, walker->first(), part.wanted, kept);
  }
  return kept;
}

}  // namespace media_server::image
