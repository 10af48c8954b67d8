#include "media-server/objects/property_table.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <variant>

#include "media-server/objects/text.h"
#include "media_server/property_keys.h"

namespace media_server {
namespace {

template <typename T>
using Property = std::optional<T> PictureProperties::*;

struct Row {
  std::u16string_view key;
  std::variant<Property<std::int32_t>, Property<double>, Property<std::string>> property;
};

constexpr Row kRows[] = {
    {property_keys::kTransferCharacteristics, &PictureProperties::transfer_characteristics},
    {property_keys::kMatrixCoefficients, &PictureProperties::matrix_coefficients},
    {property_keys::kAlphaChannel, &PictureProperties::alpha_channel},
    {property_keys::kMaxFrameRate, &PictureProperties::max_frame_rate},
    {property_keys::kFormatProfile, &PictureProperties::format_profile},
    {property_keys::kFormatSettingsGop, &PictureProperties::format_settings_gop},
    {property_keys::kFormatSettingsCabac, &PictureProperties::format_settings_cabac},
    {property_keys::kFormatSettingsRefFrame, &PictureProperties::format_settings_ref_frame},
    {property_keys::kIsTruncated, &PictureProperties::is_truncated},
    {property_keys::kIsDolbyVision, &PictureProperties::is_dolby_vision},
    {property_keys::kVideoCountOfViews, &PictureProperties::count_of_views},
    {property_keys::kVideoFullIdr, &PictureProperties::full_idr},
    {property_keys::kCleanApertureWidth, &PictureProperties::clean_aperture_width},
    {property_keys::kCleanApertureHeight, &PictureProperties::clean_aperture_height},
    {property_keys::kCleanApertureXoff, &PictureProperties::clean_aperture_xoff},
    {property_keys::kCleanApertureYoff, &PictureProperties::clean_aperture_yoff},
    {property_keys::kFrameView3dMode, &PictureProperties::frame_view_3d_mode},
    {property_keys::kFrameView3dAngle, &PictureProperties::frame_view_3d_angle},
};

void Write(std::int32_t value, void* out) { *static_cast<std::int32_t*>(out) = value; }
void Write(double value, void* out) { *static_cast<double*>(out) = value; }
void Write(const std::string& value, void* out) { *static_cast<BSTR*>(out) = ToSystemString(value); }

}  // namespace

bool DeliverProperty(const PictureProperties& properties, const char16_t* key, void* out) {
  const std::u16string_view wanted(key);
  const Row* const row =
      std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& known) { return IsKey(wanted, known.key); });
  if (row == std::end(kRows)) return false;
  return std::visit(
      [&](auto member) {
        const auto& value = properties.*member;
        if (value) Write(*value, out);
        return value.has_value();
      },
      row->property);
}

}  // namespace media_server
