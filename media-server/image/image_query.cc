#include "media-server/image/image_query.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "media-server/image/exif_tags.h"
#include "media-server/image/image_reader.h"
#include "media-server/image/wanted_tags.h"
#include "media-server/io/sibling_library.h"
#include "media-server/metadata/timestamp.h"
#include "media-server/metadata/xmp_property.h"
#include "media-server/picture_tags/picture_tags_library.h"
#include "platform/utf8.h"

namespace media_server::image {
namespace {

using imagecore::QkImageInfo;

/// A label in XMP is the one that the standard asks for, so that in Exif's user comment comes behind all packets'.
std::optional<std::string> LabelInXmp(const EmbeddedMetadata& metadata) {
  auto label = ReadXmpProperty(metadata.xmp, kXmpAigcLabel);
  for (const std::string& packet : metadata.further_xmp) {
    if (!label) label = ReadXmpProperty(packet, kXmpAigcLabel);
  }
  return label;
}

/// Where the library is missing, what Exif and the label tell.
PictureTags ReadTags(const EmbeddedMetadata& metadata) {
  PictureTags tags;
  tags.aigc = LabelInXmp(metadata);
  ReadExifTags(metadata.exif_values, tags);
  if (WantedXmpNames(metadata.xmp, tags).empty() && !HasWantedIptc(metadata.iptc, tags)) return tags;
  static const auto read = LoadSiblingFunction<ReadPictureTagsFunction>(kPictureTagsLibraryName, kReadPictureTags);
  if (read != nullptr) read(metadata, &tags);
  return tags;
}

/// Sets one field and its flag when there is a value for it.
template <typename Field, typename Value>
void Set(QkImageInfo& info, imagecore::ImageFlag flag, Field& field, const std::optional<Value>& value) {
  if (!value) return;
  field = static_cast<Field>(*value);
  info.flags |= flag;
}

/// The text, cut between two characters where it is too long for the field.
void SetText(QkImageInfo& info, imagecore::ImageFlag flag, char (&field)[imagecore::kImageTextCapacity],
             std::string_view text) {
  if (text.empty()) return;
  text = platform::CutUtf8(text, sizeof field - 1);
  std::memcpy(field, text.data(), text.size());
  field[text.size()] = '\0';
  info.flags |= flag;
}

void SetLetter(QkImageInfo& info, imagecore::ImageFlag flag, char (&field)[imagecore::kImageTextCapacity],
               std::optional<char> letter) {
  if (letter) SetText(info, flag, field, {&*letter, 1});
}

/// The label ends at its first NUL, as its readers take it for a C string.
void SetLabel(QkImageInfo& info, std::string_view label) {
  label = label.substr(0, label.find('\0'));
  if (label.empty() || label.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return;
  auto* text = static_cast<char*>(std::malloc(label.size() + 1));
  if (text == nullptr) throw std::bad_alloc();
  std::memcpy(text, label.data(), label.size());
  text[label.size()] = '\0';
  info.aigc_data = text;
  info.aigc_size = static_cast<std::int32_t>(label.size());
  info.flags |= imagecore::kHasAigcData | imagecore::kHasAigcSize;
}

void SetDuration(QkImageInfo& info, imagecore::PictureType type, const std::optional<double>& duration_s) {
  using namespace imagecore;
  if (type == kPictureWebP) return Set(info, kHasWebPDuration, info.webp_duration_s, duration_s);
  if (type == kPictureAvif || type == kPictureHeif)
    return Set(info, kHasAvifDuration, info.avif_duration_s, duration_s);
  Set(info, kHasGifDuration, info.gif_duration_s, duration_s);
}

/// There is one pair of fields for the rate, whatever the format.
void SetAnimation(QkImageInfo& info, imagecore::PictureType type, const Animation& animation) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  SetDuration(info, type, animation.duration_s);
  const auto& rate = animation.frame_rate;
  if (!rate || rate->numerator > kMost || rate->denominator > kMost) return;
  Set(info, imagecore::kHasGifFrameRateNum, info.gif_frame_rate_num, std::optional(rate->numerator));
  Set(info, imagecore::kHasGifFrameRateDen, info.gif_frame_rate_den, std::optional(rate->denominator));
}

}  // namespace

void FillImageInfo(const PictureHeaders& headers, const PictureTags& tags, QkImageInfo& info) {
  using namespace imagecore;
  info.flags = 0;
  info.ReleaseAigc();
  Set(info, kHasPictureType, info.picture_type, std::optional(headers.type));
  if (headers.size) {
    Set(info, kHasWidth, info.width, std::optional(headers.size->width));
    Set(info, kHasHeight, info.height, std::optional(headers.size->height));
  }
  if (headers.fourcc != 0) Set(info, kHasFourCC, info.fourcc, std::optional(headers.fourcc));
  if (const auto orientation = headers.orientation ? headers.orientation : tags.orientation) {
    Set(info, kHasFlip, info.flip, std::optional(orientation->flip));
    Set(info, kHasRotation, info.rotation, std::optional(orientation->rotation_degrees));
  }
  if (headers.animation) SetAnimation(info, headers.type, *headers.animation);
  Set(info, kHasGpsLatitude, info.gps_latitude, tags.latitude_degrees);
  Set(info, kHasGpsLongitude, info.gps_longitude, tags.longitude_degrees);
  SetLetter(info, kHasGpsLatitudeRef, info.gps_latitude_ref, tags.latitude_ref);
  SetLetter(info, kHasGpsLongitudeRef, info.gps_longitude_ref, tags.longitude_ref);
  Set(info, kHasExposureTime, info.exposure_time_s, tags.exposure_time_s);
  SetText(info, kHasCameraMaker, info.camera_maker, tags.maker.value_or(""));
  SetText(info, kHasCameraModel, info.camera_model, tags.model.value_or(""));
  SetText(info, kHasDate, info.date,
          CombinedDateText(tags.created ? tags.created : headers.metadata.created,
                           tags.modified ? tags.modified : headers.metadata.modified));
  SetLabel(info, headers.metadata.aigc.empty() ? tags.aigc.value_or("") : headers.metadata.aigc);
  info.alpha_mode = headers.alpha.value_or(kAlphaNone);
}

bool QueryImage(IByteSource& source, QkImageInfo& info, std::string* reason) {
  info.flags = 0;
  const auto headers = ReadPictureHeaders(source, reason);
  if (!headers) return false;
  FillImageInfo(*headers, ReadTags(headers->metadata), info);
  return true;
}

}  // namespace media_server::image
