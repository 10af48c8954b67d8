#include "media-server/image/exif_tags.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string>

#include "media-server/container/byte_reader.h"
#include "media-server/image/orientation.h"
#include "media-server/image/tag_values.h"
#include "media-server/image/tiff_directory.h"
#include "media-server/image/user_comment.h"
#include "media-server/metadata/timestamp.h"

namespace media_server::image {
namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// TIFF 6.0, section 2, and BigTIFF; those not named are whole numbers without sign.
enum Type : std::uint16_t {
  kAscii = 2,
  kRational = 5,
  kSignedByte = 6,
  kUndefined = 7,
  kSignedShort = 8,
  kSignedLong = 9,
  kSignedRational = 10,
  kFloat = 11,
  kDouble = 12,
  kSignedLong8 = 17,
};

using Bytes = std::span<const std::uint8_t>;

template <typename T>
double SignedNumber(std::uint64_t bits) {
  return static_cast<double>(static_cast<T>(bits));
}

double Quotient(double numerator, double denominator) { return denominator != 0 ? numerator / denominator : kUnknown; }

/// A number that takes up all of `bytes`; not-a-number for what is none. Types that no standard names are bytes.
double NumberOf(Bytes bytes, std::uint16_t type, std::endian order) {
  const std::uint64_t bits = NumberIn(bytes, order);
  const Bytes first = bytes.first(bytes.size() / 2);
  const Bytes second = bytes.last(bytes.size() / 2);
  switch (type) {
    case kAscii:
    case kUndefined:
      return kUnknown;
    case kSignedByte:
      return SignedNumber<std::int8_t>(bits);
    case kSignedShort:
      return SignedNumber<std::int16_t>(bits);
    case kSignedLong:
      return SignedNumber<std::int32_t>(bits);
    case kSignedLong8:
      return SignedNumber<std::int64_t>(bits);
    case kRational:
      return Quotient(static_cast<double>(NumberIn(first, order)), static_cast<double>(NumberIn(second, order)));
    case kSignedRational:
      return Quotient(SignedNumber<std::int32_t>(NumberIn(first, order)),
                      SignedNumber<std::int32_t>(NumberIn(second, order)));
    case kFloat:
      return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    case kDouble:
      return std::bit_cast<double>(bits);
    default:
      return static_cast<double>(bits);
  }
}

/// The values of one picture, decoded.
class Tags {
 public:
  explicit Tags(const ExifValues& values) : values_(values) {}

  /// Null when there is none, or one of no length.
  const ExifValue* Find(ExifDirectory directory, ExifTag tag) const {
    const ExifValue* value = values_.Find(directory, tag);
    return value && value->count > 0 ? value : nullptr;
  }

  std::string Text(ExifDirectory directory, ExifTag tag) const {
    const ExifValue* value = Find(directory, tag);
    return value ? TextOf(AsText(value->bytes)).value_or("") : std::string();
  }

  double NumberAt(const ExifValue& value, std::size_t index) const {
    const std::size_t width = value.bytes.size() / value.count;
    return NumberOf(Bytes(value.bytes).subspan(index * width, width), value.type, values_.order);
  }

  double Number(ExifDirectory directory, ExifTag tag) const {
    const ExifValue* value = Find(directory, tag);
    return value ? NumberAt(*value, 0) : kUnknown;
  }

 private:
  const ExifValues& values_;
};

/// A time tag with its offset tag; without the latter, or where it holds nonsense, the clock is the machine's.
std::optional<std::int64_t> TimeOf(const Tags& tags, ExifDirectory directory, ExifTag time, ExifTag offset) {
  const std::string clock = tags.Text(directory, time);
  if (clock.empty()) return std::nullopt;
  const auto with_offset = ParseLocalTimestamp(clock + tags.Text(ExifDirectory::kExif, offset));
  return with_offset ? with_offset : ParseLocalTimestamp(clock);
}

std::optional<double> PlaceOf(const Tags& tags, ExifTag tag, double most) {
  std::array<double, 3> parts{};
  const ExifValue* value = tags.Find(ExifDirectory::kGps, tag);
  if (!value || value->count > parts.size()) return std::nullopt;
  for (std::size_t i = 0; i < value->count; ++i) parts[i] = tags.NumberAt(*value, i);
  return AngleOf(std::span(parts).first(value->count), most);
}

std::optional<double> ExposureTimeOf(const Tags& tags) {
  const auto told = ExposureOf(tags.Number(ExifDirectory::kExif, kExifExposureTime));
  return told ? told : ExposureOf(std::exp2(-tags.Number(ExifDirectory::kExif, kExifShutterSpeedValue)));
}

std::optional<Orientation> OrientationIn(const Tags& tags) {
  const double number = tags.Number(ExifDirectory::kImage, kExifOrientation);
  return number >= 1 && number <= 8 ? OrientationFromExif(static_cast<std::uint32_t>(number)) : std::nullopt;
}

std::optional<std::string> LabelIn(const Tags& tags) {
  const ExifValue* comment = tags.Find(ExifDirectory::kExif, kExifUserComment);
  return comment ? LabelOfUserComment(comment->bytes) : std::nullopt;
}

}  // namespace

void ReadExifTags(const ExifValues& exif, PictureTags& tags) {
  if (exif.empty()) return;
  using enum ExifDirectory;
  const Tags values(exif);
  KeepFirst(tags.maker, TextOf(values.Text(kImage, kExifMake)));
  KeepFirst(tags.model, TextOf(values.Text(kImage, kExifModel)));
  KeepFirst(tags.created, TimeOf(values, kExif, kExifDateTimeOriginal, kExifOffsetTimeOriginal));
  KeepFirst(tags.created, TimeOf(values, kExif, kExifDateTimeDigitized, kExifOffsetTimeDigitized));
  KeepFirst(tags.modified, TimeOf(values, kImage, kExifDateTime, kExifOffsetTime));
  KeepFirst(tags.exposure_time_s, ExposureTimeOf(values));
  KeepFirst(tags.orientation, OrientationIn(values));
  if (!tags.aigc) tags.aigc = LabelIn(values);
  KeepFirst(tags.latitude_degrees, PlaceOf(values, kExifGpsLatitude, 90));
  KeepFirst(tags.longitude_degrees, PlaceOf(values, kExifGpsLongitude, 180));
  // A hemisphere of no place says nothing.
  if (tags.latitude_degrees) KeepFirst(tags.latitude_ref, HemisphereOf(values.Text(kGps, kExifGpsLatitudeRef), "NS"));
  if (tags.longitude_degrees) {
    KeepFirst(tags.longitude_ref, HemisphereOf(values.Text(kGps, kExifGpsLongitudeRef), "EW"));
  }
}

}  // namespace media_server::image
