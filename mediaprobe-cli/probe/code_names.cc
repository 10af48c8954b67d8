#include "probe/code_names.h"

#include <array>
#include <span>

#include "media_server/image_info.h"
#include "mediainfo/iaudio_info.h"
#include "mediainfo/ivideo_info.h"

namespace mediaprobe {
namespace {

struct BitName {
  std::uint32_t bit;
  std::string_view name;
};

constexpr BitName kDispositions[] = {
    {1u << 0, "default"},         {1u << 1, "dub"},
    {1u << 2, "original"},        {1u << 3, "comment"},
    {1u << 4, "lyrics"},          {1u << 5, "karaoke"},
    {1u << 6, "forced"},          {1u << 7, "hearing_impaired"},
    {1u << 8, "visual_impaired"}, {1u << 9, "clean_effects"},
    {1u << 10, "attached_pic"},   {1u << 11, "timed_thumbnails"},
    {1u << 12, "non_diegetic"},   {1u << 16, "captions"},
    {1u << 17, "descriptions"},   {1u << 18, "metadata"},
    {1u << 19, "dependent"},      {1u << 20, "still_image"},
    {1u << 21, "multilayer"},
};

constexpr BitName kVideoFlags[] = {
    {service::mediainfo::kVideoInterlaced, "interlaced"},
    {service::mediainfo::kVideoVariableFrameRate, "variable_frame_rate"},
    {service::mediainfo::kVideoAlpha, "alpha"},
    {service::mediainfo::kVideoEncrypted, "encrypted"},
    {service::mediainfo::kVideoHighDynamicRange, "hdr"},
};

constexpr BitName kAudioFlags[] = {
    {service::mediainfo::kAudioVariableBitRate, "variable_bit_rate"},
    {service::mediainfo::kAudioLossless, "lossless"},
    {service::mediainfo::kAudioEncrypted, "encrypted"},
};

struct NumberName {
  std::int32_t number;
  std::string_view name;
};

constexpr NumberName kFieldOrders[] = {{1, "progressive"}, {2, "top_first"}, {3, "bottom_first"}};
constexpr NumberName kColorRanges[] = {{1, "limited"}, {2, "full"}};
constexpr NumberName kColorPrimaries[] = {
    {1, "bt709"},  {4, "bt470m"},    {5, "bt470bg"},   {6, "smpte170m"}, {7, "smpte240m"}, {8, "film"},
    {9, "bt2020"}, {10, "smpte428"}, {11, "smpte431"}, {12, "smpte432"}, {22, "ebu3213"},
};
constexpr std::array<std::string_view, 4> kFlips = {"none", "horizontal", "vertical", "both"};

struct ProfileName {
  std::string_view codec;
  std::int32_t profile;
  std::string_view name;
};

/// libavcodec's numbers.
constexpr ProfileName kAudioProfiles[] = {
    {"aac", 0, "Main"},
    {"aac", 1, "LC"},
    {"aac", 2, "SSR"},
    {"aac", 3, "LTP"},
    {"aac", 4, "HE-AAC"},
    {"aac", 22, "LD"},
    {"aac", 28, "HE-AACv2"},
    {"aac", 38, "ELD"},
    {"aac", 41, "xHE-AAC"},
    {"dts", 20, "DTS"},
    {"dts", 30, "DTS-ES"},
    {"dts", 40, "DTS 96/24"},
    {"dts", 50, "DTS-HD HRA"},
    {"dts", 60, "DTS-HD MA"},
    {"dts", 61, "DTS-HD MA + DTS:X"},
    {"dts", 62, "DTS-HD MA + DTS:X IMAX"},
    {"dts", 70, "DTS Express"},
    {"eac3", 30, "Dolby Digital Plus + Dolby Atmos"},
    {"truehd", 30, "Dolby TrueHD + Dolby Atmos"},
};

constexpr NumberName kPictureTypes[] = {
    {imagecore::kPictureJpeg, "JPEG"},
    {imagecore::kPicturePng, "PNG"},
    {imagecore::kPictureGif, "GIF"},
    {imagecore::kPictureWebP, "WebP"},
    {imagecore::kPictureBmp, "BMP"},
    {imagecore::kPictureTiff, "TIFF"},
    {imagecore::kPictureHeif, "HEIF"},
    {imagecore::kPictureAvif, "AVIF"},
    {imagecore::kPictureJpegXl, "JPEG XL"},
    {imagecore::kPicturePsd, "PSD"},
    {imagecore::kPictureCameraRaw, "camera raw"},
    {imagecore::kPictureOpenExr, "OpenEXR"},
    {imagecore::kPictureSvg, "SVG"},
};

struct PictureName {
  std::string_view fourcc;
  std::string_view name;
};

/// As the image reader of the media server has them.
constexpr PictureName kOtherPictures[] = {
    // What is coded like this, and has no type of its own, lies in an icon.
    {"BMP ", "Windows icon or cursor"},
    {"PNG ", "Windows icon or cursor"},
    {"jp2 ", "JPEG 2000"},
    {"j2k ", "JPEG 2000 codestream"},
    {"JXR ", "JPEG XR"},
    {"JNG ", "JPEG Network Graphics"},
    {"MNG ", "Multiple-image Network Graphics"},
    {"BPG ", "Better Portable Graphics"},
    {"qoif", "Quite OK Image"},
    {"FF  ", "farbfeld"},
    {"HDR ", "Radiance HDR"},
    {"DPX ", "Digital Picture Exchange"},
    {"XCF ", "GIMP image"},
    {"ILBM", "Interleaved bitmap"},
    {"SGI ", "Silicon Graphics image"},
    {"RAS ", "Sun raster image"},
    {"PCX ", "ZSoft PCX"},
    {"TGA ", "Truevision TGA"},
    {"PBM ", "Netpbm"},
    {"PGM ", "Netpbm"},
    {"PPM ", "Netpbm"},
    {"PAM ", "Netpbm"},
    {"PFM ", "Netpbm"},
    {"KTX ", "Khronos texture"},
    {"DDS ", "DirectDraw Surface"},
    // Codes of the pixels in one.
    {"DX10", "DirectDraw Surface"},
    {"DXT1", "DirectDraw Surface"},
    {"DXT2", "DirectDraw Surface"},
    {"DXT3", "DirectDraw Surface"},
    {"DXT4", "DirectDraw Surface"},
    {"DXT5", "DirectDraw Surface"},
    {"ATI1", "DirectDraw Surface"},
    {"ATI2", "DirectDraw Surface"},
    {"BC4U", "DirectDraw Surface"},
    {"BC4S", "DirectDraw Surface"},
    {"BC5U", "DirectDraw Surface"},
    {"BC5S", "DirectDraw Surface"},
    {"RGBG", "DirectDraw Surface"},
    {"GRGB", "DirectDraw Surface"},
    {"UYVY", "DirectDraw Surface"},
    {"YUY2", "DirectDraw Surface"},
};

std::vector<std::string_view> NamesOf(std::uint32_t bits, std::span<const BitName> table) {
  std::vector<std::string_view> names;
  for (const BitName& row : table) {
    if ((bits & row.bit) != 0) names.push_back(row.name);
  }
  return names;
}

std::optional<std::string_view> NameOf(std::int64_t number, std::span<const NumberName> table) {
  for (const NumberName& row : table) {
    if (row.number == number) return row.name;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string_view> DispositionNames(std::uint32_t bits) { return NamesOf(bits, kDispositions); }
std::vector<std::string_view> VideoFlagNames(std::uint32_t bits) { return NamesOf(bits, kVideoFlags); }
std::vector<std::string_view> AudioFlagNames(std::uint32_t bits) { return NamesOf(bits, kAudioFlags); }

std::optional<std::string_view> FieldOrderName(std::int32_t order) { return NameOf(order, kFieldOrders); }
std::optional<std::string_view> ColorRangeName(std::int32_t range) { return NameOf(range, kColorRanges); }
std::optional<std::string_view> ColorPrimariesName(std::int32_t primaries) {
  return NameOf(primaries, kColorPrimaries);
}

std::optional<std::string_view> PictureTypeName(std::int64_t type) { return NameOf(type, kPictureTypes); }

std::optional<std::string_view> OtherPictureName(std::string_view fourcc) {
  for (const PictureName& row : kOtherPictures) {
    if (row.fourcc == fourcc) return row.name;
  }
  return std::nullopt;
}

std::optional<std::string> ChromaName(std::int32_t sampling) {
  if (sampling == 1) return "RGB";
  if (sampling < 400 || sampling > 499) return std::nullopt;
  const std::string digits = std::to_string(sampling);
  return std::string{digits[0], ':', digits[1], ':', digits[2]};
}

std::string_view FlipName(std::uint32_t flip) { return flip < kFlips.size() ? kFlips[flip] : kFlips[0]; }

std::optional<std::string_view> AudioProfileName(std::string_view codec, std::int32_t profile) {
  if (codec == "aac_latm") codec = "aac";  // in another wrapping
  for (const ProfileName& row : kAudioProfiles) {
    if (row.codec == codec && row.profile == profile) return row.name;
  }
  return std::nullopt;
}

std::optional<std::string> FourCcText(std::uint32_t code) {
  if (code == 0) return std::nullopt;
  std::string text;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    const std::uint32_t byte = (code >> shift) & 0xFF;
    if (byte >= 0x20 && byte < 0x7F) {
      text += static_cast<char>(byte);
    } else {
      text += '[' + std::to_string(byte) + ']';
    }
  }
  return text;
}

}  // namespace mediaprobe
