#include "service-mediainfo/media_info/stream_properties.h"

#include <array>
#include <span>
#include <string_view>

#include "core/rational.h"
#include "media_server/property_keys.h"
#include "mediainfo/metedata_keys.h"
#include "platform/system_string.h"
#include "service-mediainfo/media_info/frame_rate.h"
#include "service-mediainfo/metadata/c_buffer.h"

namespace service::mediainfo::media_info::impl {
namespace {

namespace server_keys = media_server::property_keys;
namespace keys = metedata_keys;

enum class Kind { kInteger, kStackedAlpha, kFrameRate, kWideText };

struct Property {
  const char16_t* server_key;
  std::string_view stored_key;
  Kind kind = Kind::kInteger;
  unsigned text_units = 0;  ///< size of the stored buffer of a kWideText
};

constexpr std::array<Property, 19> kProperties{{
    {server_keys::kTransferCharacteristics, keys::kVideoTransferCharacteristics},
    {server_keys::kMatrixCoefficients, keys::kVideoMatrixCoefficients},
    {server_keys::kAlphaChannel, keys::kVideoAlphaChannel},
    {nullptr, keys::kVideoAlphaChannel, Kind::kStackedAlpha},
    {server_keys::kMaxFrameRate, keys::kVideoMaxFramerate, Kind::kFrameRate},
    {server_keys::kFormatProfile, keys::kVideoFormatProfile, Kind::kWideText, keys::kVideoFormatProfileUnits},
    {server_keys::kFormatSettingsGop, keys::kVideoFormatSettingsGop, Kind::kWideText,
     keys::kVideoFormatSettingsGopUnits},
    {server_keys::kFormatSettingsCabac, keys::kVideoFormatSettingsCabac},
    {server_keys::kFormatSettingsRefFrame, keys::kVideoFormatSettingsRefframe},
    {server_keys::kIsTruncated, keys::kVideoIsTruncated},
    {server_keys::kIsDolbyVision, keys::kVideoIsDolbyVision},
    {server_keys::kVideoCountOfViews, keys::kVideoCountOfViews},
    {server_keys::kVideoFullIdr, keys::kVideoFullIdr},
    {server_keys::kCleanApertureWidth, keys::kVideoCleanApertureWidth},
    {server_keys::kCleanApertureHeight, keys::kVideoCleanApertureHeight},
    {server_keys::kCleanApertureXoff, keys::kVideoCleanApertureXoff},
    {server_keys::kCleanApertureYoff, keys::kVideoCleanApertureYoff},
    {server_keys::kFrameView3dMode, keys::kVideoFrameView3dMode},
    {server_keys::kFrameView3dAngle, keys::kVideoFrameView3dAngle},
}};

bool IsFound(std::int32_t status) { return status == platform::kOk; }

void ImportInteger(media_server::IPropertyReader& reader, const Property& property, MetadataInfoMPL& store) {
  std::int32_t value = 0;
  if (!IsFound(reader.GetProperty(property.server_key, &value))) return;
  store.Put(property.stored_key, core::ValAny::FromInt32(value));
}

void ImportFrameRate(media_server::IPropertyReader& reader, const Property& property, MetadataInfoMPL& store) {
  double frames_per_second = 0;
  if (!IsFound(reader.GetProperty(property.server_key, &frames_per_second))) return;
  store.Put(property.stored_key, core::ValAny::Box(FrameRateToRational(frames_per_second)));
}

void ImportWideText(media_server::IPropertyReader& reader, const Property& property, MetadataInfoMPL& store) {
  platform::SystemString text;
  if (!IsFound(reader.GetProperty(property.server_key, text.Put()))) return;
  const std::u16string_view content = text.View().substr(0, property.text_units);
  store.Put(property.stored_key,
            MakeCBuffer(std::as_bytes(std::span(content)), property.text_units * sizeof(char16_t)));
}

}  // namespace

void ImportStreamProperties(media_server::IPropertyReader& reader, bool has_stacked_alpha, MetadataInfoMPL& store) {
  for (const Property& property : kProperties) {
    switch (property.kind) {
      case Kind::kInteger:
        ImportInteger(reader, property, store);
        break;
      case Kind::kStackedAlpha:
        if (has_stacked_alpha) store.Put(property.stored_key, core::ValAny::FromInt32(1));
        break;
      case Kind::kFrameRate:
        ImportFrameRate(reader, property, store);
        break;
      case Kind::kWideText:
        ImportWideText(reader, property, store);
        break;
    }
  }
}

}  // namespace service::mediainfo::media_info::impl
