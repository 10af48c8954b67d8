#include "probe/metadata_reader.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string_view>

#include "core/rational.h"
#include "mediainfo/aigc_meta.h"
#include "mediainfo/metedata_keys.h"
#include "platform/text.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using core::ValAny;
using core::ValType;
using service::mediainfo::IMetedataInfo;

struct KeyRule {
  const char* key;
  std::optional<std::int64_t> not_told{};  ///< the number that stands for no value
  const char* told_by = nullptr;           ///< another key that must hold a text for this one to count
  std::size_t wide_units = 0;              ///< capacity of a wide text's buffer; 0: the text is narrow
};

constexpr std::int64_t kInvalidDate = -1;

constexpr KeyRule kFileKeys[] = {
    {keys::kArtist},
    {keys::kTitle},
    {keys::kTrackNumber},
    {keys::kAlbum},
    {keys::kDate},
    {.key = keys::kCreateDate, .not_told = kInvalidDate},
    {.key = keys::kModifyDate, .not_told = kInvalidDate},
    {keys::kGenre},
    {keys::kPublisher},
    {keys::kShow},
    {keys::kReleaseDate},
    {keys::kActor},
    {keys::kDirector},
    {keys::kProducer},
    {keys::kScreenwriter},
    {keys::kTagline},
    {keys::kDescription},
    {keys::kComment},
    {keys::kTvnetwork},
    {keys::kMaker},
    {keys::kModel},
    {.key = keys::kGpsLatitude, .told_by = keys::kGpsLatitudeRef},
    {.key = keys::kGpsLongitude, .told_by = keys::kGpsLongitudeRef},
    {keys::kGpsLatitudeRef},
    {keys::kGpsLongitudeRef},
    {.key = keys::kVideoKind, .not_told = 1},
    {.key = keys::kContentRating, .not_told = 0},
    {.key = keys::kDefinition, .not_told = -1},
    {keys::kAigcMeta},
    {.key = keys::kAlphaMode, .not_told = 0},
};

constexpr KeyRule kVideoKeys[] = {
    {keys::kVideoTransferCharacteristics},
    {keys::kVideoMatrixCoefficients},
    {keys::kVideoAlphaChannel},
    {keys::kVideoMaxFramerate},
    {.key = keys::kVideoFormatProfile, .wide_units = keys::kVideoFormatProfileUnits},
    {.key = keys::kVideoFormatSettingsGop, .wide_units = keys::kVideoFormatSettingsGopUnits},
    {keys::kVideoFormatSettingsCabac},
    {keys::kVideoFormatSettingsRefframe},
    {keys::kVideoIsTruncated},
    {keys::kVideoIsDolbyVision},
    {keys::kVideoCountOfViews},
    {keys::kVideoFullIdr},
    {keys::kVideoCleanApertureWidth},
    {keys::kVideoCleanApertureHeight},
    {keys::kVideoCleanApertureXoff},
    {keys::kVideoCleanApertureYoff},
    {keys::kVideoFrameView3dMode},
    {keys::kVideoFrameView3dAngle},
};

constexpr KeyRule kImageKeys[] = {
    {keys::kImageFlag},
    {keys::kImageGpsLatitude},
    {keys::kImageGpsLongitude},
    {keys::kImageGpsLatitudeRef},
    {keys::kImageGpsLongitudeRef},
    {keys::kImageCameraMaker},
    {keys::kImageCameraModel},
    {keys::kImageDate},
    {.key = keys::kImageCreateDate, .not_told = kInvalidDate},
    {.key = keys::kImageModifyDate, .not_told = kInvalidDate},
    {keys::kImageExposureTime},
    {keys::kImageRotate},
    {keys::kImageFlip},
    {keys::kImageWidth},
    {keys::kImageHeight},
    {keys::kImagePicType},
    {keys::kImagePicSequenceDuration},
    {keys::kImagePicSequenceTotalFrames},
    {keys::kImageWebPDuration},
    {keys::kImageGifDuration},
    {keys::kImageGifFrameRateNum},
    {keys::kImageGifFrameRateDen},
    {keys::kImageAigcMetaSize},
    {keys::kImageAigcMetaData},
    {keys::kImageAvifDuration},
    {keys::kImageFourCC},
    {keys::kAlphaMode},
};

/// The keys that tell a place.
struct PlaceKeys {
  const char* latitude;
  const char* latitude_ref;
  const char* longitude;
  const char* longitude_ref;
};
constexpr PlaceKeys kPlaceKeys[] = {
    {keys::kGpsLatitude, keys::kGpsLatitudeRef, keys::kGpsLongitude, keys::kGpsLongitudeRef},
    {keys::kImageGpsLatitude, keys::kImageGpsLatitudeRef, keys::kImageGpsLongitude, keys::kImageGpsLongitudeRef},
};

std::optional<MetadataValue> TextValue(std::string text) {
  if (text.empty()) return std::nullopt;
  return text;
}

std::optional<MetadataValue> BufferValue(const ValAny& value, std::size_t wide_units) {
  if (wide_units == 0) {
    const char* text = value.AsBuffer();
    return text ? TextValue(text) : std::nullopt;
  }
  const char16_t* text = value.AsBuffer<const char16_t>();
  if (text == nullptr) return std::nullopt;
  return TextValue(platform::ToUtf8({text, std::find(text, text + wide_units, u'\0')}));
}

std::optional<MetadataValue> BoxedValue(const ValAny& value) {
  if (const auto* rational = value.AsBoxed<core::Rational>()) return *rational;
  const auto* label = value.AsBoxed<keys::AIGC_META>();
  return label && label->text ? TextValue(label->text) : std::nullopt;
}

std::optional<MetadataValue> NumberValue(const ValAny& value, std::optional<std::int64_t> not_told) {
  if (value.type() == ValType::kFloat || value.type() == ValType::kDouble) {
    const double number = value.AsDouble();
    return std::isfinite(number) ? std::optional<MetadataValue>(number) : std::nullopt;
  }
  const std::int64_t number = value.AsInt64();
  if (number == not_told) return std::nullopt;
  return number;
}

std::optional<MetadataValue> ConvertedValue(const ValAny& value, const KeyRule& rule) {
  if (value.type() == ValType::kEmpty) return std::nullopt;
  if (value.IsBoxed()) return BoxedValue(value);
  if (value.type() == ValType::kBuffer) return BufferValue(value, rule.wide_units);
  return NumberValue(value, rule.not_told);
}

/// Empty also for what the store cannot answer, such as a date asked of a combined date that is no text.
std::optional<MetadataValue> Read(IMetedataInfo& store, const KeyRule& rule) {
  ValAny value;
  try {
    if (!store.GetValue(rule.key, &value)) return std::nullopt;
    return ConvertedValue(value, rule);
  } catch (const core::AnyBadAccess&) {
    return std::nullopt;
  }
}

Metadata ReadAll(IMetedataInfo& store, std::span<const KeyRule> rules) {
  Metadata metadata;
  for (const KeyRule& rule : rules) {
    if (rule.told_by && !Read(store, {rule.told_by})) continue;
    if (auto value = Read(store, rule)) metadata.push_back({rule.key, *std::move(value)});
  }
  return metadata;
}

/// Degrees under `degrees_key`, negative when the text under `reference_key` starts with `negative`.
std::optional<double> SignedDegrees(const Metadata& metadata, const char* degrees_key, const char* reference_key,
                                    char negative, double limit) {
  const std::optional<double> degrees = MetadataNumber(metadata, degrees_key);
  const std::optional<std::string> reference = MetadataText(metadata, reference_key);
  if (!degrees || !reference || std::abs(*degrees) > limit) return std::nullopt;
  // 0.0 - x rather than -x: zero degrees south are zero, not minus zero.
  return reference->front() == negative ? 0.0 - *degrees : *degrees;
}

}  // namespace

Metadata ReadFileMetadata(IMetedataInfo& store) { return ReadAll(store, kFileKeys); }
Metadata ReadVideoMetadata(IMetedataInfo& store) { return ReadAll(store, kVideoKeys); }
Metadata ReadImageMetadata(IMetedataInfo& store) { return ReadAll(store, kImageKeys); }

std::optional<std::string> MetadataText(const Metadata& metadata, std::string_view key) {
  const MetadataValue* value = FindMetadata(metadata, key);
  const std::string* text = value ? std::get_if<std::string>(value) : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::int64_t> MetadataInteger(const Metadata& metadata, std::string_view key) {
  const MetadataValue* value = FindMetadata(metadata, key);
  const std::int64_t* number = value ? std::get_if<std::int64_t>(value) : nullptr;
  return number ? std::optional(*number) : std::nullopt;
}

std::optional<double> MetadataNumber(const Metadata& metadata, std::string_view key) {
  const MetadataValue* value = FindMetadata(metadata, key);
  const double* number = value ? std::get_if<double>(value) : nullptr;
  return number ? std::optional(*number) : std::nullopt;
}

std::optional<Location> MetadataLocation(const Metadata& metadata) {
  for (const PlaceKeys& place : kPlaceKeys) {
    const auto latitude = SignedDegrees(metadata, place.latitude, place.latitude_ref, 'S', 90);
    const auto longitude = SignedDegrees(metadata, place.longitude, place.longitude_ref, 'W', 180);
    if (latitude && longitude) return Location{*latitude, *longitude};
  }
  return std::nullopt;
}

}  // namespace mediaprobe
