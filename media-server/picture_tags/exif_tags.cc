#include "media-server/picture_tags/exif_tags.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exiv2/exif.hpp>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/image/orientation.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/picture_tags/tag_values.h"
#include "media-server/picture_tags/user_comment.h"

namespace media_server::picture_tags {
namespace {

// Exiv2's names of the first IFD, the Exif IFD and the GPS IFD.
constexpr std::string_view kImage = "Image";
constexpr std::string_view kPhoto = "Photo";
constexpr std::string_view kGps = "GPSInfo";

// Exif 2.32, tables 4, 7, 8 and 15.
enum Tag : std::uint16_t {
  kMake = 0x010F,
  kModel = 0x0110,
  kOrientation = 0x0112,
  kDateTime = 0x0132,
  kExposureTime = 0x829A,
  kDateTimeOriginal = 0x9003,
  kDateTimeDigitized = 0x9004,
  kOffsetTime = 0x9010,
  kOffsetTimeOriginal = 0x9011,
  kOffsetTimeDigitized = 0x9012,
  kShutterSpeedValue = 0x9201,
  kUserComment = 0x9286,
  kGpsLatitudeRef = 0x0001,
  kGpsLatitude = 0x0002,
  kGpsLongitudeRef = 0x0003,
  kGpsLongitude = 0x0004,
};

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// The bytes of a value as they stand in the file.
std::vector<std::uint8_t> BytesOf(const Exiv2::Value& value) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(std::max(value.size(), 0L)));
  value.copy(bytes.data(), Exiv2::invalidByteOrder);
  return bytes;
}

/// A number of a value of any type; not-a-number for what is none. Exiv2's own conversion is to single precision.
double NumberAt(const Exiv2::Value& value, std::size_t index) {
  constexpr std::array kTexts = {Exiv2::asciiString, Exiv2::comment, Exiv2::undefined};
  if (std::ranges::find(kTexts, value.typeId()) != kTexts.end()) return kUnknown;
  const auto quotient = [](double numerator, double denominator) {
    return denominator != 0 ? numerator / denominator : kUnknown;
  };
  if (const auto* unsigned_value = dynamic_cast<const Exiv2::URationalValue*>(&value)) {
    const auto [numerator, denominator] = unsigned_value->value_[index];
    return quotient(numerator, denominator);
  }
  if (const auto* signed_value = dynamic_cast<const Exiv2::RationalValue*>(&value)) {
    const auto [numerator, denominator] = signed_value->value_[index];
    return quotient(numerator, denominator);
  }
  if (const auto* double_value = dynamic_cast<const Exiv2::DoubleValue*>(&value)) return double_value->value_[index];
  return static_cast<double>(value.toFloat(static_cast<long>(index)));
}

/// The tags of one picture.
class Tags {
 public:
  explicit Tags(const Exiv2::ExifData& data) {
    for (const Exiv2::Exifdatum& datum : data) {
      if (datum.count() > 0) entries_.push_back({datum.groupName(), datum.tag(), &datum.value()});
    }
  }

  /// Null when there is none.
  const Exiv2::Value* Find(std::string_view group, std::uint16_t tag) const {
    const auto found =
        std::ranges::find_if(entries_, [&](const Entry& entry) { return entry.tag == tag && entry.group == group; });
    return found != entries_.end() ? found->value : nullptr;
  }

  std::string Text(std::string_view group, std::uint16_t tag) const {
    const Exiv2::Value* value = Find(group, tag);
    return value ? TextOf(AsText(BytesOf(*value))).value_or("") : std::string();
  }

  double Number(std::string_view group, std::uint16_t tag) const {
    const Exiv2::Value* value = Find(group, tag);
    return value ? NumberAt(*value, 0) : kUnknown;
  }

 private:
  struct Entry {
    std::string group;
    std::uint16_t tag;
    const Exiv2::Value* value;
  };
  std::vector<Entry> entries_;
};

/// A time tag with its offset tag; without the latter, or where it holds nonsense, the clock is the machine's.
std::optional<std::int64_t> TimeOf(const Tags& tags, std::string_view group, Tag time, Tag offset) {
  const std::string clock = tags.Text(group, time);
  if (clock.empty()) return std::nullopt;
  const auto with_offset = ParseLocalTimestamp(clock + tags.Text(kPhoto, offset));
  return with_offset ? with_offset : ParseLocalTimestamp(clock);
}

std::optional<double> PlaceOf(const Tags& tags, Tag tag, double most) {
  const Exiv2::Value* value = tags.Find(kGps, tag);
  if (!value || value->count() > 3) return std::nullopt;
  std::array<double, 3> parts{};
  const auto count = static_cast<std::size_t>(value->count());
  for (std::size_t i = 0; i < count; ++i) parts[i] = NumberAt(*value, i);
  return AngleOf(std::span(parts).first(count), most);
}

std::optional<double> ExposureTimeOf(const Tags& tags) {
  const auto told = ExposureOf(tags.Number(kPhoto, kExposureTime));
  return told ? told : ExposureOf(std::exp2(-tags.Number(kPhoto, kShutterSpeedValue)));
}

std::optional<image::Orientation> OrientationIn(const Tags& tags) {
  const double number = tags.Number(kImage, kOrientation);
  return number >= 1 && number <= 8 ? image::OrientationFromExif(static_cast<std::uint32_t>(number)) : std::nullopt;
}

std::optional<std::string> LabelIn(const Tags& tags) {
  const Exiv2::Value* comment = tags.Find(kPhoto, kUserComment);
  return comment ? LabelOfUserComment(BytesOf(*comment)) : std::nullopt;
}

}  // namespace

void ReadExifTags(std::span<const std::uint8_t> tiff, image::PictureTags& tags) {
  if (tiff.empty()) return;
  Exiv2::ExifData data;
  Exiv2::ExifParser::decode(data, tiff.data(), static_cast<std::uint32_t>(tiff.size()));
  const Tags exif(data);

  const auto text = [&](Tag tag) { return TextOf(exif.Text(kImage, tag)); };
  KeepFirst(tags.maker, text(kMake));
  KeepFirst(tags.model, text(kModel));
  KeepFirst(tags.created, TimeOf(exif, kPhoto, kDateTimeOriginal, kOffsetTimeOriginal));
  KeepFirst(tags.created, TimeOf(exif, kPhoto, kDateTimeDigitized, kOffsetTimeDigitized));
  KeepFirst(tags.modified, TimeOf(exif, kImage, kDateTime, kOffsetTime));
  KeepFirst(tags.exposure_time_s, ExposureTimeOf(exif));
  KeepFirst(tags.orientation, OrientationIn(exif));
  KeepFirst(tags.aigc, LabelIn(exif));
  KeepFirst(tags.latitude_degrees, PlaceOf(exif, kGpsLatitude, 90));
  KeepFirst(tags.longitude_degrees, PlaceOf(exif, kGpsLongitude, 180));
  // A hemisphere of no place says nothing.
  if (tags.latitude_degrees) KeepFirst(tags.latitude_ref, HemisphereOf(exif.Text(kGps, kGpsLatitudeRef), "NS"));
  if (tags.longitude_degrees) KeepFirst(tags.longitude_ref, HemisphereOf(exif.Text(kGps, kGpsLongitudeRef), "EW"));
}

}  // namespace media_server::picture_tags
