#include "media-server/codec/hevc_parameter_sets.h"

#include <algorithm>
#include <array>

#include "media-server/codec/video_usability.h"

namespace media_server::codec {
namespace {

constexpr std::uint32_t kMaxSubLayersMinus1 = 6;
constexpr std::uint32_t kMaxFrames = 16;  // A.4.2: MaxDpbSize is at most 16
constexpr unsigned kProfileBits = 88;     // of a profile_tier_level, in front of its level

/// Flags and sizes of the sub-layers behind the general profile_tier_level.
void SkipSubLayers(BitReader& bits, std::uint32_t max_sub_layers_minus1) {
  if (max_sub_layers_minus1 == 0) return;
  std::size_t sub_layer_bits = 0;
  for (std::uint32_t i = 0; i < 8; ++i) {  // the flags of absent sub-layers are reserved bits
    const bool profile_present = bits.Flag();
    const bool level_present = bits.Flag();
    if (i >= max_sub_layers_minus1) continue;
    sub_layer_bits += (profile_present ? kProfileBits : 0) + (level_present ? 8 : 0);
  }
  bits.Skip(sub_layer_bits);
}

/// The ordering information: max_dec_pic_buffering_minus1 of the highest sub-layer.
std::uint32_t ReadBuffering(BitReader& bits, std::uint32_t max_sub_layers_minus1) {
  const bool for_each = bits.Flag();  // sub_layer_ordering_info_present_flag
  std::uint32_t buffering_minus1 = 0;
  for (std::uint32_t i = for_each ? 0 : max_sub_layers_minus1; i <= max_sub_layers_minus1; ++i) {
    buffering_minus1 = bits.UnsignedGolomb();
    bits.UnsignedGolomb();  // max_num_reorder_pics
    bits.UnsignedGolomb();  // max_latency_increase_plus1
  }
  return buffering_minus1;
}

std::optional<core::Rational> ReadTiming(BitReader& bits) {
  const std::uint32_t units_in_tick = bits.Bits(32);
  const std::uint32_t time_scale = bits.Bits(32);
  if (bits.Flag()) bits.UnsignedGolomb();  // num_ticks_poc_diff_one_minus1
  if (!bits.Ok()) return std::nullopt;
  return PositiveRatio(time_scale, units_in_tick);
}

/// The part of hrd_parameters that may be said once for several of them.
struct HrdCommon {
  unsigned schedules = 0;  ///< NAL and VCL
  bool sub_picture = false;
};

HrdCommon ReadHrdCommon(BitReader& bits) {
  const bool nal = bits.Flag();
  const bool vcl = bits.Flag();
  HrdCommon common{.schedules = (nal ? 1U : 0U) + (vcl ? 1U : 0U)};
  if (common.schedules == 0) return common;
  common.sub_picture = bits.Flag();
  if (common.sub_picture) bits.Skip(19);  // tick divisor, lengths, place of the parameters
  bits.Skip(8);                           // bit_rate_scale, cpb_size_scale
  if (common.sub_picture) bits.Skip(4);   // cpb_size_du_scale
  bits.Skip(15);                          // lengths of delays
  return common;
}

/// What follows the common part of hrd_parameters (E.2.2).
void SkipHrdSubLayers(BitReader& bits, const HrdCommon& common, std::uint32_t max_sub_layers_minus1) {
  for (std::uint32_t layer = 0; layer <= max_sub_layers_minus1 && bits.Ok(); ++layer) {
    const bool fixed_rate = bits.Flag() || bits.Flag();  // fixed_pic_rate_general_flag, else ..._within_cvs_flag
    bool low_delay = false;
    if (fixed_rate) {
      bits.UnsignedGolomb();  // elemental_duration_in_tc_minus1
    } else {
      low_delay = bits.Flag();
    }
    const std::uint64_t buffers = low_delay ? 1 : std::uint64_t{bits.UnsignedGolomb()} + 1;
    for (std::uint64_t i = 0; i < buffers * common.schedules && bits.Ok(); ++i) {
      for (int field = 0; field < (common.sub_picture ? 4 : 2); ++field) bits.UnsignedGolomb();
      bits.Skip(1);  // cbr_flag
    }
  }
}

void SkipVideoHrds(BitReader& bits, std::uint32_t max_sub_layers_minus1) {
  const std::uint32_t count = bits.UnsignedGolomb();
  HrdCommon common;
  for (std::uint32_t i = 0; i < count && bits.Ok(); ++i) {
    bits.UnsignedGolomb();  // hrd_layer_set_idx
    if (i == 0 || bits.Flag()) common = ReadHrdCommon(bits);
    SkipHrdSubLayers(bits, common, max_sub_layers_minus1);
  }
}

/// vps_extension as far as the dimensions of the layers (F.7.3.2.1.1).
void ReadVideoExtension(BitReader& bits, std::uint32_t max_layers_minus1, std::uint32_t max_sub_layers_minus1,
                        bool base_layer_internal, HevcVideoParameterSet& set) {
  constexpr unsigned kViewOrder = 1;  // places in scalability_mask_flag (table F.1)
  constexpr unsigned kAuxiliary = 3;
  constexpr std::uint32_t kAlphaPlane = 1;  // AuxId
  if (max_layers_minus1 > 0 && base_layer_internal) {
    bits.Skip(8);  // general_level_idc
    SkipSubLayers(bits, max_sub_layers_minus1);
  }
  const bool splitting = bits.Flag();
  const std::uint32_t mask = bits.Bits(16);  // the first flag is the highest bit
  // With splitting_flag the dimensions are cut out of nuh_layer_id; no encoder of multi-view or alpha video does so.
  if (splitting) return;
  std::array<unsigned, 16> lengths{};
  for (unsigned type = 0; type < 16; ++type) {
    if ((mask >> (15 - type) & 1) != 0) lengths[type] = bits.Bits(3) + 1;
  }
  const bool layer_ids_present = bits.Flag();
  std::array<bool, 256> seen{};  // by view order index
  seen[0] = true;                // the base layer's
  for (std::uint32_t layer = 1; layer <= max_layers_minus1; ++layer) {
    if (layer_ids_present) bits.Skip(6);
    std::uint32_t view = 0;
    std::uint32_t auxiliary = 0;
    for (unsigned type = 0; type < 16; ++type) {
      const std::uint32_t id = bits.Bits(lengths[type]);
      if (type == kViewOrder) view = id;
      if (type == kAuxiliary) auxiliary = id;
    }
    if (!bits.Ok()) return;
    seen[view] = true;
    set.alpha = set.alpha || auxiliary == kAlphaPlane;
  }
  const auto count = std::ranges::count(seen, true);
  if (count > 1) set.views = static_cast<int>(count);
}

void SkipScalingLists(BitReader& bits) {
  for (int size = 0; size < 4; ++size) {
    for (int matrix = 0; matrix < 6; matrix += size == 3 ? 3 : 1) {
      if (!bits.Flag()) {  // scaling_list_pred_mode_flag
        bits.UnsignedGolomb();
        continue;
      }
      if (size > 1) bits.SignedGolomb();  // scaling_list_dc_coef_minus8
      const int coefficients = size == 0 ? 16 : 64;
      for (int i = 0; i < coefficients && bits.Ok(); ++i) bits.SignedGolomb();
    }
  }
}

/// st_ref_pic_set for each of `count` sets (7.3.7).
bool SkipShortTermSets(BitReader& bits, std::uint32_t count) {
  std::uint32_t deltas = 0;  // NumDeltaPocs of the set before
  for (std::uint32_t set = 0; set < count && bits.Ok(); ++set) {
    if (set > 0 && bits.Flag()) {  // inter_ref_pic_set_prediction_flag
      bits.Skip(1);                // delta_rps_sign
      bits.UnsignedGolomb();       // abs_delta_rps_minus1
      std::uint32_t kept = 0;
      for (std::uint32_t i = 0; i <= deltas; ++i) {
        if (bits.Flag() || bits.Flag()) ++kept;  // used_by_curr_pic_flag, else use_delta_flag
      }
      deltas = kept;
    } else {
      const std::uint32_t negative = bits.UnsignedGolomb();
      const std::uint32_t positive = bits.UnsignedGolomb();
      if (negative > kMaxFrames || positive > kMaxFrames) return false;
      deltas = negative + positive;
      for (std::uint32_t i = 0; i < deltas; ++i) {
        bits.UnsignedGolomb();  // delta_poc_minus1
        bits.Skip(1);           // used_by_curr_pic_flag
      }
    }
    if (deltas > kMaxFrames) return false;
  }
  return bits.Ok();
}

void SkipPcm(BitReader& bits) {
  bits.Skip(8);  // sample bit depths
  bits.UnsignedGolomb();
  bits.UnsignedGolomb();
  bits.Skip(1);  // pcm_loop_filter_disabled_flag
}

/// Everything between the ordering information and the usability information; false when that cannot be reached.
bool SkipCodingTools(BitReader& bits, std::uint32_t log2_max_order_count) {
  constexpr std::uint32_t kMaxShortTermSets = 64;
  constexpr std::uint32_t kMaxLongTermPictures = 32;
  for (int i = 0; i < 6; ++i) bits.UnsignedGolomb();  // block sizes, transform hierarchy depths
  if (bits.Flag() && bits.Flag())
    SkipScalingLists(bits);  // scaling_list_enabled_flag, sps_scaling_list_data_present_flag
  bits.Skip(2);              // amp_enabled_flag, sample_adaptive_offset_enabled_flag
  if (bits.Flag()) SkipPcm(bits);
  const std::uint32_t short_term_sets = bits.UnsignedGolomb();
  if (short_term_sets > kMaxShortTermSets || !SkipShortTermSets(bits, short_term_sets)) return false;
  if (bits.Flag()) {  // long_term_ref_pics_present_flag
    const std::uint32_t pictures = bits.UnsignedGolomb();
    if (pictures > kMaxLongTermPictures) return false;
    bits.Skip(pictures * (log2_max_order_count + 1));
  }
  bits.Skip(2);  // sps_temporal_mvp_enabled_flag, strong_intra_smoothing_enabled_flag
  return bits.Ok();
}

void ReadUsability(BitReader& bits, PictureParameters& picture) {
  ReadCommonUsability(bits, picture);
  bits.Skip(1);  // neutral_chroma_indication_flag
  const bool field_sequence = bits.Flag();
  bits.Skip(1);  // frame_field_info_present_flag
  if (!bits.Ok()) return;
  if (field_sequence) {
    picture.progressive_only = false;
    picture.field_order.reset();
  }
  if (bits.Flag()) {  // default_display_window_flag
    for (int i = 0; i < 4; ++i) bits.UnsignedGolomb();
  }
  if (bits.Flag()) picture.frame_rate = ReadTiming(bits);  // vui_timing_info_present_flag
}

struct CodedSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::array<std::uint32_t, 4> crop{};  ///< left, right, top, bottom, in chroma samples
};

CodedSize ReadSize(BitReader& bits) {
  CodedSize size;
  size.width = bits.UnsignedGolomb();
  size.height = bits.UnsignedGolomb();
  if (bits.Flag()) {  // conformance_window_flag
    for (auto& side : size.crop) side = bits.UnsignedGolomb();
  }
  return size;
}

bool SetSize(const CodedSize& size, std::uint32_t chroma_format_idc, PictureParameters& picture) {
  const std::uint64_t unit_x = chroma_format_idc == 1 || chroma_format_idc == 2 ? 2 : 1;
  const std::uint64_t unit_y = chroma_format_idc == 1 ? 2 : 1;
  return SetPictureSize(picture, size.width, size.height, (std::uint64_t{size.crop[0]} + size.crop[1]) * unit_x,
                        (std::uint64_t{size.crop[2]} + size.crop[3]) * unit_y);
}

}  // namespace

void ReadHevcProfileTierLevel(BitReader& bits, PictureParameters& picture) {
  bits.Skip(2);  // general_profile_space
  const bool high_tier = bits.Flag();
  int profile = static_cast<int>(bits.Bits(5));
  const std::uint32_t compatible = bits.Bits(32);  // the flag of profile 0 is the highest bit
  for (int candidate = 1; candidate < 32 && profile == 0; ++candidate) {
    if ((compatible >> (31 - candidate) & 1) != 0) profile = candidate;
  }
  const bool progressive_source = bits.Flag();
  const bool interlaced_source = bits.Flag();
  bits.Skip(46);  // further constraint flags
  const std::uint32_t level = bits.Bits(8);
  if (!bits.Ok()) return;
  if (profile != 0) picture.profile = profile;
  if (level != 0) picture.level = static_cast<int>(level);
  picture.high_tier = high_tier;
  if (progressive_source == interlaced_source) return;  // both or neither: the encoder does not tell
  picture.progressive_only = progressive_source;
  if (progressive_source) picture.field_order = FieldOrder::kProgressive;
}

HevcVideoParameterSet ReadHevcVideoParameterSet(std::span<const std::uint8_t> payload) {
  constexpr std::uint32_t kMaxLayerSetsMinus1 = 1023;
  BitReader bits(payload);
  HevcVideoParameterSet set;
  bits.Skip(4);  // vps_video_parameter_set_id
  const bool base_layer_internal = bits.Flag();
  bits.Skip(1);  // vps_base_layer_available_flag
  const std::uint32_t max_layers_minus1 = bits.Bits(6);
  const std::uint32_t max_sub_layers_minus1 = bits.Bits(3);
  if (max_sub_layers_minus1 > kMaxSubLayersMinus1) return set;
  bits.Skip(1 + 16 + kProfileBits + 8);  // temporal id nesting, reserved bits, general profile, tier and level
  SkipSubLayers(bits, max_sub_layers_minus1);
  ReadBuffering(bits, max_sub_layers_minus1);
  const std::uint32_t max_layer_id = bits.Bits(6);
  const std::uint32_t layer_sets_minus1 = bits.UnsignedGolomb();
  if (layer_sets_minus1 > kMaxLayerSetsMinus1) return set;
  bits.Skip(std::size_t{layer_sets_minus1} * (max_layer_id + 1));  // layer_id_included_flag
  if (bits.Flag()) {                                               // vps_timing_info_present_flag
    set.frame_rate = ReadTiming(bits);
    SkipVideoHrds(bits, max_sub_layers_minus1);
  }
  if (!bits.Flag()) return set;  // vps_extension_flag
  bits.AlignToByte();
  ReadVideoExtension(bits, max_layers_minus1, max_sub_layers_minus1, base_layer_internal, set);
  return set;
}

std::optional<PictureParameters> ReadHevcSequenceParameterSet(std::span<const std::uint8_t> payload) {
  constexpr std::uint32_t kMaxSequenceId = 15;
  BitReader bits(payload);
  PictureParameters picture;
  bits.Skip(4);  // sps_video_parameter_set_id
  const std::uint32_t max_sub_layers_minus1 = bits.Bits(3);
  if (max_sub_layers_minus1 > kMaxSubLayersMinus1) return std::nullopt;
  bits.Skip(1);  // sps_temporal_id_nesting_flag
  ReadHevcProfileTierLevel(bits, picture);
  SkipSubLayers(bits, max_sub_layers_minus1);
  if (bits.UnsignedGolomb() > kMaxSequenceId) return std::nullopt;
  const std::uint32_t chroma_format_idc = bits.UnsignedGolomb();
  if (chroma_format_idc > 3) return std::nullopt;
  if (chroma_format_idc == 3) bits.Skip(1);  // separate_colour_plane_flag
  const CodedSize size = ReadSize(bits);
  const std::uint32_t luma_above_8 = bits.UnsignedGolomb();
  const std::uint32_t chroma_above_8 = bits.UnsignedGolomb();
  const std::uint32_t log2_max_order_count = bits.UnsignedGolomb() + 4;
  if (luma_above_8 > 8 || chroma_above_8 > 8 || log2_max_order_count > 16) return std::nullopt;
  const std::uint32_t buffering_minus1 = ReadBuffering(bits, max_sub_layers_minus1);
  if (!bits.Ok() || !SetSize(size, chroma_format_idc, picture)) return std::nullopt;
  picture.bit_depth = static_cast<int>(8 + luma_above_8);
  if (buffering_minus1 < kMaxFrames) picture.reference_frames = static_cast<int>(buffering_minus1) + 1;
  if (SkipCodingTools(bits, log2_max_order_count) && bits.Flag()) ReadUsability(bits, picture);
  picture.chroma_sampling = ChromaSampling(chroma_format_idc, picture.color);
  return picture;
}

}  // namespace media_server::codec
