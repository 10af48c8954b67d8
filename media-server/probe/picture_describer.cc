#include "media-server/probe/picture_describer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/orientation.h"
#include "media-server/probe/side_data.h"
#include "media-server/probe/streams.h"
#include "media-server/probe/timing.h"
#include "mediainfo/ivideo_info.h"

namespace media_server::probe {
namespace {

using codec::FieldOrder;
using codec::PictureParameters;

// H.273 transfer functions of high dynamic range: perceptual quantisation, hybrid log-gamma.
constexpr int kTransferPq = 16;
constexpr int kTransferHlg = 18;

// Containers hold any number; those above have no meaning in H.273.
constexpr int kLastH273Code = 22;
constexpr int kUnspecified = 2;

std::optional<std::int32_t> Described(int h273_code, int first_code) {
  if (h273_code < first_code || h273_code > kLastH273Code || h273_code == kUnspecified) return std::nullopt;
  return h273_code;
}

std::optional<std::int32_t> FirstOf(std::optional<std::int32_t> header, std::optional<std::int32_t> container) {
  return header ? header : container;
}

struct PixelFormat {
  std::optional<int> chroma_sampling;
  std::optional<int> bit_depth;
  bool alpha = false;
};

// What a decoder's pixel format tells; analysis knows it for codecs that have a decoder here.
PixelFormat ReadPixelFormat(const AVStream& stream) {
  const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(stream.codecpar->format));
  if (format == nullptr || (format->flags & (AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_PAL)) != 0) return {};
  PixelFormat result;
  result.bit_depth = format->comp[0].depth;
  result.alpha = (format->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
  if ((format->flags & AV_PIX_FMT_FLAG_RGB) != 0) {
    result.chroma_sampling = codec::kChromaRgb;
  } else if (format->nb_components < 3) {
    result.chroma_sampling = codec::kChroma400;
  } else {
    constexpr int kSamplings[3][3] = {{codec::kChroma444, codec::kChroma440, 0},
                                      {codec::kChroma422, codec::kChroma420, 0},
                                      {codec::kChroma411, 0, codec::kChroma410}};
    const int sampling = kSamplings[std::min<int>(format->log2_chroma_w, 2)][std::min<int>(format->log2_chroma_h, 2)];
    if (sampling != 0) result.chroma_sampling = sampling;
  }
  return result;
}

// Codecs that have one pixel format only.
PixelFormat PixelFormatOfCodec(const AVCodecParameters& codec, std::int32_t profile) {
  switch (codec.codec_id) {
    case AV_CODEC_ID_MPEG4:
      if (profile == AV_PROFILE_MPEG4_SIMPLE_STUDIO) return {};
      [[fallthrough]];
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_H261:
    case AV_CODEC_ID_H263:
    case AV_CODEC_ID_FLV1:
    case AV_CODEC_ID_MSMPEG4V1:
    case AV_CODEC_ID_MSMPEG4V2:
    case AV_CODEC_ID_MSMPEG4V3:
    case AV_CODEC_ID_WMV1:
    case AV_CODEC_ID_WMV2:
    case AV_CODEC_ID_WMV3:
    case AV_CODEC_ID_VC1:
    case AV_CODEC_ID_RV10:
    case AV_CODEC_ID_RV20:
    case AV_CODEC_ID_RV30:
    case AV_CODEC_ID_RV40:
    case AV_CODEC_ID_ASV1:
    case AV_CODEC_ID_ASV2:
    case AV_CODEC_ID_SVQ3:
    case AV_CODEC_ID_YUV4:
      return {codec::kChroma420, 8, false};
    case AV_CODEC_ID_SVQ1:
    case AV_CODEC_ID_INDEO2:
    case AV_CODEC_ID_INDEO3:
      return {codec::kChroma410, 8, false};
    case AV_CODEC_ID_Y41P:
    case AV_CODEC_ID_CLJR:
      return {codec::kChroma411, 8, false};
    case AV_CODEC_ID_V408:
      return {codec::kChroma444, 8, true};
    case AV_CODEC_ID_AVRP:
      return {codec::kChromaRgb, 10, false};
    case AV_CODEC_ID_FLASHSV:
    case AV_CODEC_ID_FLASHSV2:
      return {codec::kChromaRgb, 8, false};
    case AV_CODEC_ID_V210:
      return {codec::kChroma422, 10, false};
    case AV_CODEC_ID_V308:
      return {codec::kChroma444, 8, false};
    case AV_CODEC_ID_V410:
      return {codec::kChroma444, 10, false};
    case AV_CODEC_ID_R210:
      return {codec::kChromaRgb, 10, false};
    case AV_CODEC_ID_CINEPAK: {
      constexpr int kPalette = 8;  // its colours are those of a palette, or grey
      return codec.bits_per_coded_sample == kPalette ? PixelFormat() : PixelFormat{codec::kChromaRgb, 8, false};
    }
    default:
      return {};
  }
}

std::int32_t FieldOrderOf(const AVStream& stream, const PictureParameters& header) {
  if (header.progressive_only.value_or(false) || header.field_order == FieldOrder::kProgressive) return 1;
  if (header.field_order == FieldOrder::kTopFirst) return 2;
  if (header.field_order == FieldOrder::kBottomFirst) return 3;
  switch (NumberIn(stream.codecpar->field_order)) {
    case AV_FIELD_PROGRESSIVE:
      return 1;
    case AV_FIELD_TT:
    case AV_FIELD_BT:  // coded bottom first, displayed top first
      return 2;
    case AV_FIELD_BB:
    case AV_FIELD_TB:
      return 3;
    default:
      return 0;
  }
}

std::int32_t ScaledBy(std::uint32_t size, double ratio) {
  return static_cast<std::int32_t>(std::clamp(std::round(size * ratio), 0.0, 2147483647.0));
}

// The container's ratio wins over the codec's, as players have it.
double SampleAspectRatio(const AVStream& stream, const PictureFacts& facts, const PictureFormat& picture) {
  const AVCodecParameters& stored = *stream.codecpar;
  for (const AVRational ratio : {stream.sample_aspect_ratio, stored.sample_aspect_ratio}) {
    if (ratio.num <= 0 || ratio.den <= 0) continue;
    const bool sizes_known = picture.width > 0 && stored.width > 0 && stored.height > 0;
    if (!facts.aspect_is_of_display || !sizes_known) return av_q2d(ratio);
    // libavformat worked it out for the stored lines, of which some may not be shown.
    const double shown_part = static_cast<double>(picture.height) / stored.height;
    return av_q2d(ratio) * shown_part * stored.width / picture.width;
  }
  return NumberOf(facts.header.parameters.sample_aspect_ratio, /*unknown=*/1);
}

void DescribeSize(const AVStream& stream, const PictureFacts& facts, PictureFormat& picture) {
  const PictureParameters& header = facts.header.parameters;
  picture.width = header.width.value_or(static_cast<std::uint32_t>(std::max(stream.codecpar->width, 0)));
  picture.height = header.height.value_or(static_cast<std::uint32_t>(std::max(stream.codecpar->height, 0)));
  if (picture.width == 0 || picture.height == 0) picture.width = picture.height = 0;
  picture.display_width = ScaledBy(picture.width, SampleAspectRatio(stream, facts, picture));
  picture.display_height = ScaledBy(picture.height, 1);
}

void DescribeRate(const AVStream& stream, const PictureFacts& facts, StreamDescription& description) {
  PictureFormat& picture = description.picture;
  picture.frame_rate = FrameRate(stream);
  if (picture.frame_rate == 0 && !IsCover(stream)) {
    picture.frame_rate = NumberOf(facts.header.parameters.frame_rate, /*unknown=*/0);
  }
  picture.frame_count = FrameCount(stream, facts.sample_count, description.duration, picture.frame_rate);
  if (facts.timing) {
    picture.frame_rate = facts.timing->frame_rate;
    picture.frame_count = facts.timing->frame_count;
  }
  picture.bit_rate = static_cast<std::int32_t>(
      std::min<std::uint32_t>(description.bit_rate, std::numeric_limits<std::int32_t>::max()));
}

void DescribeColor(const AVStream& stream, const PictureHeader& picture_header, StreamDescription& description) {
  const PictureParameters& header = picture_header.parameters;
  const AVCodecParameters& codec = *stream.codecpar;
  PictureProperties& properties = description.properties;
  properties.transfer_characteristics = FirstOf(FirstOf(header.color.transfer, picture_header.sei.preferred_transfer),
                                                Described(NumberIn(codec.color_trc), 1));
  properties.matrix_coefficients = FirstOf(header.color.matrix, Described(NumberIn(codec.color_space), 0));  // 0 is RGB
  description.picture.color_primaries =
      FirstOf(header.color.primaries, Described(NumberIn(codec.color_primaries), 1)).value_or(0);
  if (header.color.full_range) {
    description.picture.color_range = *header.color.full_range ? 2 : 1;
  } else {
    const int range = NumberIn(codec.color_range);  // numbered alike: 1 limited, 2 full
    description.picture.color_range = range == 1 || range == 2 ? range : 0;
  }

  const PixelFormat decoded = ReadPixelFormat(stream);
  const PixelFormat only = PixelFormatOfCodec(codec, description.profile);
  const auto choose = [](std::optional<int> first, std::optional<int> second, std::optional<int> third) {
    return first ? *first : second ? *second : third.value_or(0);
  };
  description.picture.chroma = choose(header.chroma_sampling, decoded.chroma_sampling, only.chroma_sampling);
  description.picture.bit_depth = choose(header.bit_depth, decoded.bit_depth, only.bit_depth);

  // WebM keeps the alpha picture in a second coded picture of each block and says so in a tag.
  const bool tagged_alpha = StreamTag(stream, "alpha_mode").value_or("0") == "1";
  if (header.alpha || tagged_alpha || decoded.bit_depth || only.bit_depth) {
    const bool has_alpha = header.alpha.value_or(false) || tagged_alpha || decoded.alpha || only.alpha;
    properties.alpha_channel = has_alpha ? 1 : 0;
  }
}

// Clean aperture out of whole pixels cut from the edges.
void DescribeCropping(const PictureSideData::Cropping& cropping, const PictureFormat& picture,
                      PictureProperties& properties) {
  const std::int64_t width = std::int64_t{picture.width} - cropping.left - cropping.right;
  const std::int64_t height = std::int64_t{picture.height} - cropping.top - cropping.bottom;
  if (width <= 0 || height <= 0) return;
  properties.clean_aperture_width = static_cast<std::int32_t>(width);
  properties.clean_aperture_height = static_cast<std::int32_t>(height);
  properties.clean_aperture_xoff = static_cast<std::int32_t>((std::int64_t{cropping.left} - cropping.right) / 2);
  properties.clean_aperture_yoff = static_cast<std::int32_t>((std::int64_t{cropping.top} - cropping.bottom) / 2);
}

// The profile's name from the numbers that the description gives, whoever knew them.
std::optional<std::string> ProfileTextOf(const PictureHeader& header, const StreamDescription& description) {
  if (!header.profiled_codec) return std::nullopt;
  PictureParameters named = header.parameters;
  if (!named.profile && description.profile >= 0) named.profile = description.profile;
  if (!named.level && description.picture.level >= 0) named.level = description.picture.level;
  std::string text = codec::ProfileText(*header.profiled_codec, named);
  if (text.empty()) return std::nullopt;
  return text;
}

std::int32_t StereoModeOf(codec::FramePacking packing) {
  switch (packing) {
    case codec::FramePacking::kCheckerboard:
      return AV_STEREO3D_CHECKERBOARD;
    case codec::FramePacking::kColumns:
      return AV_STEREO3D_COLUMNS;
    case codec::FramePacking::kRows:
      return AV_STEREO3D_LINES;
    case codec::FramePacking::kSideBySide:
      return AV_STEREO3D_SIDEBYSIDE;
    case codec::FramePacking::kTopBottom:
      return AV_STEREO3D_TOPBOTTOM;
    case codec::FramePacking::kFrameSequence:
      return AV_STEREO3D_FRAMESEQUENCE;
  }
  return AV_STEREO3D_2D;
}

void DescribeProperties(const PictureFacts& facts, const PictureSideData& side_data, StreamDescription& description) {
  const PictureHeader& header = facts.header;
  const TrackFacts& track = facts.track;
  const PictureParameters& parameters = header.parameters;
  PictureProperties& properties = description.properties;
  properties.max_frame_rate = track.max_frame_rate;
  properties.format_profile = ProfileTextOf(header, description);
  properties.format_settings_gop = facts.gop;
  if (parameters.cabac) properties.format_settings_cabac = *parameters.cabac ? 1 : 0;
  properties.format_settings_ref_frame = parameters.reference_frames;
  if (facts.file_is_truncated) properties.is_truncated = *facts.file_is_truncated ? 1 : 0;
  properties.is_dolby_vision = side_data.dolby_vision ? 1 : 0;
  properties.count_of_views = FirstOf(side_data.views, parameters.views);
  if (header.full_idr) properties.full_idr = *header.full_idr ? 1 : 0;
  properties.frame_view_3d_mode = side_data.stereo_mode;
  if (!properties.frame_view_3d_mode && header.sei.frame_packing) {
    properties.frame_view_3d_mode = StereoModeOf(*header.sei.frame_packing);
  }
  properties.frame_view_3d_angle = side_data.field_of_view;
  if (const auto& aperture = track.clean_aperture) {
    properties.clean_aperture_width = aperture->width;
    properties.clean_aperture_height = aperture->height;
    properties.clean_aperture_xoff = aperture->x_offset;
    properties.clean_aperture_yoff = aperture->y_offset;
  } else if (side_data.cropping) {
    DescribeCropping(*side_data.cropping, description.picture, properties);
  }
}

bool IsHighDynamicRange(const StreamDescription& description, const codec::SeiFacts& sei,
                        const PictureSideData& side_data) {
  const auto is_hdr = [](std::optional<int> transfer) { return transfer == kTransferPq || transfer == kTransferHlg; };
  return is_hdr(description.properties.transfer_characteristics) || is_hdr(sei.preferred_transfer) ||
         sei.mastering_display || side_data.dolby_vision || side_data.mastering_display;
}

std::uint32_t FlagsOf(const StreamDescription& description, const PictureFacts& facts,
                      const PictureSideData& side_data) {
  std::uint32_t flags = 0;
  if (description.picture.field_order > 1) flags |= service::mediainfo::kVideoInterlaced;
  if (!facts.track.constant_frame_rate.value_or(true)) flags |= service::mediainfo::kVideoVariableFrameRate;
  if (description.properties.alpha_channel.value_or(0) != 0) flags |= service::mediainfo::kVideoAlpha;
  if (facts.track.encrypted) flags |= service::mediainfo::kVideoEncrypted;
  if (IsHighDynamicRange(description, facts.header.sei, side_data)) flags |= service::mediainfo::kVideoHighDynamicRange;
  return flags;
}

}  // namespace

void DescribePicture(const AVStream& stream, const PictureFacts& facts, StreamDescription& description) {
  const PictureSideData side_data = ReadPictureSideData(stream);
  const PictureParameters& header = facts.header.parameters;
  PictureFormat& picture = description.picture;
  description.profile = header.profile.value_or(stream.codecpar->profile);
  picture.level = header.level.value_or(stream.codecpar->level);
  picture.field_order = FieldOrderOf(stream, header);
  DescribeSize(stream, facts, picture);
  DescribeRate(stream, facts, description);
  DescribeColor(stream, facts.header, description);
  DescribeProperties(facts, side_data, description);
  picture.flags = FlagsOf(description, facts, side_data);
  description.orientation = OrientationOf(stream);
}

}  // namespace media_server::probe
