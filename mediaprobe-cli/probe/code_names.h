#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Names for the numbers that the interfaces answer. Numbers without a name give an empty optional or are left out.
namespace mediaprobe {

/// "default", "forced", ...: libavformat's names, lowest bit first.
std::vector<std::string_view> DispositionNames(std::uint32_t bits);
/// "interlaced", "variable_frame_rate", "alpha", "encrypted", "hdr".
std::vector<std::string_view> VideoFlagNames(std::uint32_t bits);
/// "variable_bit_rate", "lossless", "encrypted".
std::vector<std::string_view> AudioFlagNames(std::uint32_t bits);

/// "progressive", "top_first" or "bottom_first".
std::optional<std::string_view> FieldOrderName(std::int32_t order);
/// "limited" or "full".
std::optional<std::string_view> ColorRangeName(std::int32_t range);
/// libavutil's name of an H.273 number: "bt709" for 1.
std::optional<std::string_view> ColorPrimariesName(std::int32_t primaries);
/// "4:2:0" for 420, "RGB" for 1.
std::optional<std::string> ChromaName(std::int32_t sampling);
/// "none", "horizontal", "vertical" or "both"; numbers past 3 are "none".
std::string_view FlipName(std::uint32_t flip);
/// "JPEG", "camera raw", ... of an imagecore::PictureType; empty for kPictureOther.
std::optional<std::string_view> PictureTypeName(std::int64_t type);
/// "Windows icon or cursor", "JPEG 2000", ... of the FourCC of a picture that is kPictureOther, as --formats has them.
std::optional<std::string_view> OtherPictureName(std::string_view fourcc);
/// "LC" for profile 1 of codec "aac".
std::optional<std::string_view> AudioProfileName(std::string_view codec, std::int32_t profile);

/// The four characters of a code, first one in the least significant byte. Bytes that are no printable ASCII are told
/// as "[27]". Empty for 0.
std::optional<std::string> FourCcText(std::uint32_t code);

}  // namespace mediaprobe
