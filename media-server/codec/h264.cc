#include "media-server/codec/h264.h"

#include <algorithm>
#include <array>
#include <vector>

#include "media-server/codec/bit_reader.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/video_usability.h"
#include "media-server/container/byte_reader.h"

namespace media_server::codec {
namespace {

// nal_unit_type, table 7-1.
enum NalType : unsigned {
  kSlice = 1,
  kIdrSlice = 5,
  kSei = 6,
  kSequenceParameterSet = 7,
  kPictureParameterSet = 8,
  kSequenceParameterSetExtension = 13,
  kSubsetSequenceParameterSet = 15,
};

constexpr int kConstrained = 0x200;
constexpr int kIntra = 0x800;
constexpr int kLevel1b = 9;
constexpr std::uint32_t kMaxSpsId = 31;
constexpr std::uint32_t kMaxFrames = 16;  // A.3.1: MaxDpbFrames is at most 16

// Profiles whose parameter sets tell chroma format, bit depth and scaling lists (7.3.2.1.1); 144 is the High 4:4:4
// profile that the 2005 edition removed.
constexpr std::array<std::uint32_t, 14> kHighProfiles = {44,  83,  86,  100, 110, 118, 122,
                                                         128, 134, 135, 138, 139, 144, 244};

bool IsHighProfile(std::uint32_t profile_idc) {
  return std::ranges::find(kHighProfiles, profile_idc) != kHighProfiles.end();
}

unsigned TypeOf(std::span<const std::uint8_t> nal) { return nal.front() & 0x1F; }

bool IsSlice(std::span<const std::uint8_t> nal) { return TypeOf(nal) >= kSlice && TypeOf(nal) <= kIdrSlice; }

/// The profile as libavcodec numbers it; constraint_set1_flag is bit 6 of `constraints`, constraint_set3_flag bit 4.
int ProfileOf(std::uint32_t profile_idc, std::uint32_t constraints) {
  const int profile = static_cast<int>(profile_idc);
  const bool set1 = (constraints & 0x40) != 0;
  const bool set3 = (constraints & 0x10) != 0;
  switch (profile_idc) {
    case 66:
      return profile | (set1 ? kConstrained : 0);
    case 110:
    case 122:
    case 244:
      return profile | (set3 ? kIntra : 0);
    default:
      return profile;
  }
}

/// level_idc, with the other spelling of level 1b (11 and constraint_set3_flag below the High profiles) made one.
int LevelOf(std::uint32_t profile_idc, std::uint32_t constraints, std::uint32_t level_idc) {
  const bool set3 = (constraints & 0x10) != 0;
  const bool below_high = profile_idc == 66 || profile_idc == 77 || profile_idc == 88;
  return level_idc == 11 && set3 && below_high ? kLevel1b : static_cast<int>(level_idc);
}

void SkipScalingList(BitReader& bits, int size) {
  int last = 8;
  int next = 8;
  for (int i = 0; i < size && bits.Ok(); ++i) {
    if (next != 0) next = (last + bits.SignedGolomb() % 256 + 256) % 256;
    if (next != 0) last = next;
  }
}

void SkipHrd(BitReader& bits) {
  const std::uint32_t count = bits.UnsignedGolomb() + 1;
  bits.Skip(8);  // bit_rate_scale, cpb_size_scale
  for (std::uint32_t i = 0; i < count && bits.Ok(); ++i) {
    bits.UnsignedGolomb();
    bits.UnsignedGolomb();
    bits.Skip(1);
  }
  bits.Skip(20);  // lengths of delays and of the time offset
}

/// The fields behind bitstream_restriction_flag.
void SkipRestrictions(BitReader& bits) {
  bits.Skip(1);  // motion_vectors_over_pic_boundaries_flag
  for (int i = 0; i < 6; ++i) bits.UnsignedGolomb();
}

/// Leaves `bits` behind it: more may follow in a subset sequence parameter set.
void ReadUsability(BitReader& bits, PictureParameters& picture) {
  ReadCommonUsability(bits, picture);
  if (bits.Flag()) {  // timing_info_present_flag
    const std::uint64_t units_in_tick = bits.Bits(32);
    const std::uint64_t time_scale = bits.Bits(32);
    bits.Skip(1);  // fixed_frame_rate_flag
    if (bits.Ok()) picture.frame_rate = PositiveRatio(time_scale, 2 * units_in_tick);
  }
  const bool nal_hrd = bits.Flag();
  if (nal_hrd) SkipHrd(bits);
  const bool vcl_hrd = bits.Flag();
  if (vcl_hrd) SkipHrd(bits);
  if (nal_hrd || vcl_hrd) bits.Skip(1);  // low_delay_hrd_flag
  bits.Skip(1);                          // pic_struct_present_flag
  if (bits.Flag()) SkipRestrictions(bits);
}

struct SequenceParameterSet {
  std::uint32_t id = 0;
  PictureParameters picture;
};

struct ChromaFormat {
  std::uint32_t idc = 1;
  bool separate_planes = false;
};

/// Chroma format, bit depth and scaling lists of the High profiles; empty when out of range.
std::optional<ChromaFormat> ReadHighFields(BitReader& bits, PictureParameters& picture) {
  ChromaFormat chroma{.idc = bits.UnsignedGolomb()};
  if (chroma.idc > 3) return std::nullopt;
  if (chroma.idc == 3) chroma.separate_planes = bits.Flag();
  const std::uint32_t luma_above_8 = bits.UnsignedGolomb();
  const std::uint32_t chroma_above_8 = bits.UnsignedGolomb();
  if (luma_above_8 > 6 || chroma_above_8 > 6) return std::nullopt;
  picture.bit_depth = static_cast<int>(8 + luma_above_8);
  bits.Skip(1);       // qpprime_y_zero_transform_bypass_flag
  if (bits.Flag()) {  // seq_scaling_matrix_present_flag
    for (int i = 0; i < (chroma.idc == 3 ? 12 : 8); ++i) {
      if (bits.Flag()) SkipScalingList(bits, i < 6 ? 16 : 64);
    }
  }
  return chroma;
}

void SkipPictureOrder(BitReader& bits) {
  const std::uint32_t type = bits.UnsignedGolomb();
  if (type == 0) bits.UnsignedGolomb();  // log2_max_pic_order_cnt_lsb_minus4
  if (type == 1) {
    bits.Skip(1);
    bits.SignedGolomb();
    bits.SignedGolomb();
    const std::uint32_t cycle = bits.UnsignedGolomb();
    for (std::uint32_t i = 0; i < cycle && bits.Ok(); ++i) bits.SignedGolomb();
  }
}

bool ReadSize(BitReader& bits, const ChromaFormat& chroma, PictureParameters& picture) {
  const std::uint64_t width_in_mbs = std::uint64_t{bits.UnsignedGolomb()} + 1;
  const std::uint64_t height_in_map_units = std::uint64_t{bits.UnsignedGolomb()} + 1;
  const bool frames_only = bits.Flag();
  if (!frames_only) bits.Skip(1);  // mb_adaptive_frame_field_flag
  bits.Skip(1);                    // direct_8x8_inference_flag
  std::array<std::uint64_t, 4> crop{};
  if (bits.Flag()) {
    for (auto& side : crop) side = bits.UnsignedGolomb();
  }
  if (!bits.Ok()) return false;
  picture.progressive_only = frames_only;
  if (frames_only) picture.field_order = FieldOrder::kProgressive;
  const std::uint64_t field_factor = frames_only ? 1 : 2;
  const bool subsampled = !chroma.separate_planes;
  const std::uint64_t crop_unit_x = subsampled && (chroma.idc == 1 || chroma.idc == 2) ? 2 : 1;
  const std::uint64_t crop_unit_y = (subsampled && chroma.idc == 1 ? 2 : 1) * field_factor;
  return SetPictureSize(picture, width_in_mbs * 16, height_in_map_units * 16 * field_factor,
                        (crop[0] + crop[1]) * crop_unit_x, (crop[2] + crop[3]) * crop_unit_y);
}

/// seq_parameter_set_data; leaves `bits` behind it. Facts of a usability information that ends early count as far as
/// read.
std::optional<SequenceParameterSet> ReadSequenceParameterSet(BitReader& bits) {
  SequenceParameterSet set;
  PictureParameters& picture = set.picture;
  const std::uint32_t profile_idc = bits.Bits(8);
  const std::uint32_t constraints = bits.Bits(8);
  const std::uint32_t level_idc = bits.Bits(8);
  picture.profile = ProfileOf(profile_idc, constraints);
  picture.level = LevelOf(profile_idc, constraints, level_idc);
  set.id = bits.UnsignedGolomb();
  if (set.id > kMaxSpsId) return std::nullopt;

  std::optional<ChromaFormat> chroma = ChromaFormat{};
  picture.bit_depth = 8;
  if (IsHighProfile(profile_idc)) chroma = ReadHighFields(bits, picture);
  if (!chroma) return std::nullopt;

  bits.UnsignedGolomb();  // log2_max_frame_num_minus4
  SkipPictureOrder(bits);
  const std::uint32_t reference_frames = bits.UnsignedGolomb();
  if (reference_frames <= kMaxFrames) picture.reference_frames = static_cast<int>(reference_frames);
  bits.Skip(1);  // gaps_in_frame_num_value_allowed_flag
  if (!ReadSize(bits, *chroma, picture)) return std::nullopt;
  if (bits.Flag()) ReadUsability(bits, picture);
  picture.chroma_sampling = ChromaSampling(chroma->idc, picture.color);
  return set;
}

/// num_views_minus1 + 1 of a subset sequence parameter set of the multi-view profiles, also of those with depth, whose
/// extension begins alike (annexes H to J).
std::optional<int> ReadViews(BitReader& bits) {
  constexpr std::array<int, 6> kProfiles = {118, 128, 134, 135, 138, 139};
  constexpr std::uint32_t kMaxViews = 1024;  // H.7.4.2.1.4: num_views_minus1 is at most 1023
  const auto set = ReadSequenceParameterSet(bits);
  if (!set || std::ranges::find(kProfiles, set->picture.profile) == kProfiles.end()) return std::nullopt;
  if (!bits.Flag()) return std::nullopt;  // bit_equal_to_one
  const std::uint32_t views_minus1 = bits.UnsignedGolomb();
  if (!bits.Ok() || views_minus1 == 0 || views_minus1 >= kMaxViews) return std::nullopt;
  return static_cast<int>(views_minus1) + 1;
}

/// Puts together what the parameter sets of one stream tell, in whatever order they come.
class ParameterSets {
 public:
  void Add(std::span<const std::uint8_t> nal) {
    switch (TypeOf(nal)) {
      case kSequenceParameterSet:
        return AddSequence(NalPayload(nal, 1));
      case kPictureParameterSet:
        return AddPicture(NalPayload(nal, 1));
      case kSequenceParameterSetExtension:
        return AddExtension(NalPayload(nal, 1));
      case kSubsetSequenceParameterSet:
        return AddSubset(NalPayload(nal, 1));
      default:
        return;
    }
  }

  bool HasSequence() const { return sequence_.has_value(); }

  /// Lays what was found over `picture`.
  void Complete(PictureParameters& picture) const {
    if (sequence_) picture = sequence_->picture;
    if (sequence_ && alpha_) picture.alpha = true;
    picture.views = views_;
    const auto of_sequence = [this](const PictureSet& set) { return sequence_ && set.sequence_id == sequence_->id; };
    const auto found = std::ranges::find_if(pictures_, of_sequence);
    if (found != pictures_.end()) picture.cabac = found->cabac;
  }

 private:
  struct PictureSet {
    std::uint32_t sequence_id;
    bool cabac;
  };

  void AddSequence(const std::vector<std::uint8_t>& payload) {
    BitReader bits(payload);
    if (!sequence_) sequence_ = ReadSequenceParameterSet(bits);
  }

  void AddPicture(const std::vector<std::uint8_t>& payload) {
    constexpr std::size_t kMaxPictureSets = 256;
    BitReader bits(payload);
    bits.UnsignedGolomb();  // pic_parameter_set_id
    const std::uint32_t sequence_id = bits.UnsignedGolomb();
    const bool cabac = bits.Flag();
    if (bits.Ok() && pictures_.size() < kMaxPictureSets) pictures_.push_back({sequence_id, cabac});
  }

  void AddExtension(const std::vector<std::uint8_t>& payload) {
    BitReader bits(payload);
    bits.UnsignedGolomb();                                         // seq_parameter_set_id
    const std::uint32_t auxiliary_format = bits.UnsignedGolomb();  // 3 leaves open what the pictures are for
    alpha_ = alpha_ || (bits.Ok() && (auxiliary_format == 1 || auxiliary_format == 2));
  }

  void AddSubset(const std::vector<std::uint8_t>& payload) {
    BitReader bits(payload);
    if (!views_) views_ = ReadViews(bits);
  }

  std::optional<SequenceParameterSet> sequence_;
  std::vector<PictureSet> pictures_;
  std::optional<int> views_;
  bool alpha_ = false;
};

void AddUnits(ByteReader& bytes, unsigned count, ParameterSets& sets) {
  for (unsigned i = 0; i < count && bytes.Ok(); ++i) {
    const auto nal = bytes.Take(bytes.Be16());
    if (!nal.empty()) sets.Add(nal);
  }
}

/// ISO/IEC 14496-15, 5.3.3.1.
NalConfiguration ReadRecord(std::span<const std::uint8_t> record) {
  ByteReader bytes(record);
  bytes.Skip(1);  // configurationVersion
  const std::uint8_t profile_idc = bytes.U8();
  const std::uint8_t constraints = bytes.U8();
  const std::uint8_t level_idc = bytes.U8();
  NalConfiguration configuration;
  configuration.nal_length_size = (bytes.U8() & 3) + 1;
  configuration.picture.profile = ProfileOf(profile_idc, constraints);
  configuration.picture.level = LevelOf(profile_idc, constraints, level_idc);

  ParameterSets sets;
  AddUnits(bytes, bytes.U8() & 0x1F, sets);  // sequence parameter sets
  AddUnits(bytes, bytes.U8(), sets);         // picture parameter sets
  if (IsHighProfile(profile_idc)) {
    bytes.Skip(3);                      // chroma format, bit depths
    AddUnits(bytes, bytes.U8(), sets);  // extensions of sequence parameter sets
  }
  sets.Complete(configuration.picture);
  return configuration;
}

}  // namespace

std::optional<NalConfiguration> ReadH264Configuration(std::span<const std::uint8_t> extradata) {
  constexpr std::size_t kRecordHeaderSize = 6;
  if (extradata.size() >= kRecordHeaderSize && extradata.front() == 1) return ReadRecord(extradata);
  const auto picture = ReadH264ParameterSets(extradata, kAnnexB);
  if (!picture) return std::nullopt;
  NalConfiguration configuration{kAnnexB, *picture, {}};
  ReadH264Sei(extradata, kAnnexB, configuration.sei);
  return configuration;
}

std::optional<PictureParameters> ReadH264ParameterSets(std::span<const std::uint8_t> sample, int nal_length_size) {
  NalReader nals(sample, nal_length_size);
  ParameterSets sets;
  for (auto nal = nals.Next(); !nal.empty() && !IsSlice(nal); nal = nals.Next()) sets.Add(nal);
  if (!sets.HasSequence()) return std::nullopt;
  PictureParameters picture;
  sets.Complete(picture);
  return picture;
}

void ReadH264Sei(std::span<const std::uint8_t> sample, int nal_length_size, SeiFacts& facts) {
  NalReader nals(sample, nal_length_size);
  for (auto nal = nals.Next(); !nal.empty() && !IsSlice(nal); nal = nals.Next()) {
    if (TypeOf(nal) == kSei) ReadSei(NalPayload(nal, 1), facts);
  }
}

std::optional<bool> IsH264Idr(std::span<const std::uint8_t> sample, int nal_length_size) {
  NalReader nals(sample, nal_length_size);
  for (auto nal = nals.Next(); !nal.empty(); nal = nals.Next()) {
    if (IsSlice(nal)) return TypeOf(nal) == kIdrSlice;
  }
  return std::nullopt;
}

}  // namespace media_server::codec
