#pragma once

/// Keys of IPropertyReader. A property that the file does not tell is not delivered. std::int32_t unless said.
namespace media_server::property_keys {

inline constexpr char16_t kTransferCharacteristics[] = u"KEY_QK_TRANSFER_CHARACTERISTICS";  ///< H.273 number
inline constexpr char16_t kMatrixCoefficients[] = u"KEY_QK_MATRIX_COEFFICIENTS";            ///< H.273 number
inline constexpr char16_t kAlphaChannel[] = u"KEY_QK_ALPHA_CHANNEL";                        ///< 0 or 1
inline constexpr char16_t kMaxFrameRate[] = u"KEY_QK_MAX_FRAMERATE";                 ///< double, frames per second
inline constexpr char16_t kFormatProfile[] = u"KEY_QK_FORMAT_PROFILE";               ///< BSTR, as "High@L4.1"
inline constexpr char16_t kFormatSettingsGop[] = u"KEY_QK_FORMAT_SETTINGS_GOP";      ///< BSTR, as "M=3, N=12"
inline constexpr char16_t kFormatSettingsCabac[] = u"KEY_QK_FORMAT_SETTINGS_CABAC";  ///< 0 or 1
inline constexpr char16_t kFormatSettingsRefFrame[] = u"KEY_QK_FORMAT_SETTINGS_REFFRAME";  ///< count
inline constexpr char16_t kIsTruncated[] = u"KEY_QK_IS_TRUNCATED";  ///< 1 when the file is shorter than it says, else 0
inline constexpr char16_t kIsDolbyVision[] = u"KEY_QK_IS_DOLBYVISION";  ///< 0 or 1
inline constexpr char16_t kVideoCountOfViews[] = u"KEY_QK_VIDEO_COUNT_OF_VIEWS";
inline constexpr char16_t kVideoFullIdr[] =
    u"KEY_QK_VIDEO_FULL_IDR";  ///< 1 when every key frame is an IDR picture, else 0
/// Clean aperture in whole pixels; offsets are those of its centre from the picture's centre.
inline constexpr char16_t kCleanApertureWidth[] = u"KEY_QK_CLEANAPERTURE_WIDTH";
inline constexpr char16_t kCleanApertureHeight[] = u"KEY_QK_CLEANAPERTURE_HEIGHT";
inline constexpr char16_t kCleanApertureXoff[] = u"KEY_QK_CLEANAPERTURE_XOFF";
inline constexpr char16_t kCleanApertureYoff[] = u"KEY_QK_CLEANAPERTURE_YOFF";
/// How two views share the picture: 0 flat, 1 side by side, 2 top and bottom, 3 frame sequence, 4 checkerboard, 6
/// lines, 7 columns, 9 not told (libavutil's stereo 3D types).
inline constexpr char16_t kFrameView3dMode[] = u"KEY_Frame_View_3D_Mode";
/// Horizontal field of view of a spherical or stereo picture, in degrees.
inline constexpr char16_t kFrameView3dAngle[] = u"KEY_Frame_View_3D_Angle";

}  // namespace media_server::property_keys
