#include "media-server/image/jpeg_xr.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_values.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"
#include "media-server/image/orientation.h"
#include "media-server/image/tiff_directory.h"

namespace media_server::image {
namespace {

/// The pixel format is a GUID; those of the standard differ in their last byte only (T.832, annex A).
imagecore::AlphaMode AlphaOf(const TiffWalker& walker, const TiffDirectory& directory) {
  using namespace std::string_view_literals;
  constexpr std::uint16_t kPixelFormat = 0xBC01;
  constexpr std::string_view kGuidStart = "\x24\xC3\xDD\x6F\x03\x4E\xFE\x4B\xB1\x85\x3D\x77\x76\x8D\xC9"sv;
  constexpr std::array<std::uint8_t, 3> kPremultiplied = {0x10, 0x17, 0x1A};
  constexpr std::array<std::uint8_t, 6> kStraight = {0x0F, 0x16, 0x19, 0x1D, 0x1E, 0x3A};
  constexpr std::uint8_t kFirstWithAlpha = 0x2C;  // CMYK with alpha, and three to eight channels with it
  constexpr std::uint8_t kLastWithAlpha = 0x39;
  const TiffEntry* entry = directory.Find(kPixelFormat);
  const auto guid = entry ? walker.Value(*entry, kGuidStart.size() + 1) : std::nullopt;
  if (!guid || guid->size() <= kGuidStart.size() || !AsText(*guid).starts_with(kGuidStart)) {
    return imagecore::kAlphaNone;
  }
  const std::uint8_t format = guid->back();
  if (std::ranges::find(kPremultiplied, format) != kPremultiplied.end()) return imagecore::kAlphaPremultiplied;
  const bool is_straight = (format >= kFirstWithAlpha && format <= kLastWithAlpha) ||
                           std::ranges::find(kStraight, format) != kStraight.end();
  return is_straight ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

/// SPATIAL_XFRM_PRIMARY: what to do with the decoded picture, a turn before the flips. 0 is what an absent one stands
/// for, and leaves it to Exif.
std::optional<Orientation> OrientationIn(const TiffWalker& walker, const TiffDirectory& directory) {
  constexpr std::uint16_t kTransformation = 0xBC02;
  const auto transformation = walker.Number(directory, kTransformation);
  if (!transformation || *transformation == 0 || *transformation > 7) return std::nullopt;
  OrientationSteps steps;
  if ((*transformation & 4) != 0) steps.RotateClockwise(90);
  if ((*transformation & 2) != 0) steps.FlipHorizontally();
  if ((*transformation & 1) != 0) steps.FlipVertically();
  return steps.Result();
}

}  // namespace

bool ReadJpegXr(IByteSource& file, PictureHeaders& headers) {
  constexpr std::uint16_t kXmp = 0x02BC;
  constexpr std::uint16_t kImageWidth = 0xBC80;
  constexpr std::uint16_t kImageHeight = 0xBC81;
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  MeteredSource source(file, kMostStillBytes);
  auto walker = TiffWalker::Open(source, 0);
  const auto directory = walker ? walker->Read(walker->first()) : std::nullopt;
  if (!directory) return false;
  const auto width = walker->Number(*directory, kImageWidth);
  const auto height = walker->Number(*directory, kImageHeight);
  if (!width || !height || *width > kMost || *height > kMost) return false;
  headers.fourcc = FourCC("JXR ");
  headers.size = PictureSize{static_cast<std::uint32_t>(*width), static_cast<std::uint32_t>(*height)};
  headers.alpha = AlphaOf(*walker, *directory);
  headers.orientation = OrientationIn(*walker, *directory);
  headers.metadata.exif_values = ReadExifValues(source, 0);
  if (const TiffEntry* xmp = directory->Find(kXmp)) {
    if (const auto packet = walker->Value(*xmp, kMostMetadataBytes)) headers.metadata.AddXmp(AsText(*packet));
  }
  return true;
}

}  // namespace media_server::image
