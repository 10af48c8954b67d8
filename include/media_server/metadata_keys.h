#pragma once

/// Keys of IMetadata's keyed operations: texts unless said.
namespace media_server::metadata_keys {

inline constexpr char16_t kActor[] = u"KEY_QK_METADATAINFO_ACTOR";
inline constexpr char16_t kGpsLatitudeRef[] = u"KEY_QK_METADATAINFO_GPSLATITUDEREF";    ///< "N" or "S"
inline constexpr char16_t kGpsLongitudeRef[] = u"KEY_QK_METADATAINFO_GPSLONGITUDEREF";  ///< "E" or "W"
inline constexpr char16_t kAigc[] = u"KEY_QK_METADATAINFO_AIGC";                    ///< the label's text, as it stands
inline constexpr char16_t kXmpAlphaMode[] = u"KEY_QK_XMP_METADATAINFO_ALPHA_MODE";  ///< integer: alpha mode

}  // namespace media_server::metadata_keys
