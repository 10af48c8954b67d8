#include "media-server/codec/hevc.h"

#include "media-server/codec/hevc_parameter_sets.h"
#include "media-server/codec/nal.h"
#include "media-server/codec/video_usability.h"
#include "media-server/container/byte_reader.h"

namespace media_server::codec {
namespace {

// nal_unit_type, table 7-1.
enum NalType : unsigned {
  kFirstBla = 16,
  kLastBla = 18,
  kFirstIdr = 19,
  kLastIdr = 20,
  kCra = 21,
  kLastSlice = 31,
  kVideoParameterSet = 32,
  kSequenceParameterSet = 33,
  kPrefixSei = 39,
};

constexpr std::size_t kNalHeaderSize = 2;

unsigned TypeOf(std::span<const std::uint8_t> nal) { return nal.front() >> 1 & 0x3F; }

bool IsSlice(std::span<const std::uint8_t> nal) { return TypeOf(nal) <= kLastSlice; }

/// False also for a unit cut inside its header: its layer is not known.
bool IsBaseLayer(std::span<const std::uint8_t> nal) {
  return nal.size() >= kNalHeaderSize && (nal[0] & 1) == 0 && nal[1] >> 3 == 0;
}

bool IsSei(std::span<const std::uint8_t> nal) { return TypeOf(nal) == kPrefixSei && IsBaseLayer(nal); }

/// Puts together what the parameter sets of one stream tell, in whatever order they come.
class ParameterSets {
 public:
  void Add(std::span<const std::uint8_t> nal) {
    if (!IsBaseLayer(nal)) return;
    const unsigned type = TypeOf(nal);
    if (type == kVideoParameterSet && !video_) video_ = ReadHevcVideoParameterSet(NalPayload(nal, kNalHeaderSize));
    if (type == kSequenceParameterSet && !sequence_) {
      sequence_ = ReadHevcSequenceParameterSet(NalPayload(nal, kNalHeaderSize));
    }
    if (IsSei(nal)) ReadSei(NalPayload(nal, kNalHeaderSize), sei_);
  }

  bool HasSequence() const { return sequence_.has_value(); }
  const SeiFacts& Sei() const { return sei_; }

  /// Lays what was found over `picture`.
  void Complete(PictureParameters& picture) const {
    if (sequence_) picture = *sequence_;
    if (sei_.alpha_channel) picture.alpha = true;
    if (!video_) return;
    if (video_->alpha) picture.alpha = true;
    picture.views = video_->views;
    if (!picture.frame_rate) picture.frame_rate = video_->frame_rate;
  }

 private:
  std::optional<HevcVideoParameterSet> video_;
  std::optional<PictureParameters> sequence_;
  SeiFacts sei_;
};

/// The parameter sets and SEI messages in front of the first slice.
ParameterSets CollectSets(std::span<const std::uint8_t> sample, int nal_length_size) {
  NalReader nals(sample, nal_length_size);
  ParameterSets sets;
  for (auto nal = nals.Next(); !nal.empty() && !IsSlice(nal); nal = nals.Next()) sets.Add(nal);
  return sets;
}

/// The fixed fields of an hvcC record behind its level.
void ReadRecordFormat(ByteReader& bytes, PictureParameters& picture) {
  bytes.Skip(2 + 1);  // min_spatial_segmentation_idc, parallelismType
  const std::uint32_t chroma_format_idc = bytes.U8() & 3;
  const int luma_above_8 = bytes.U8() & 7;
  bytes.Skip(1 + 2);  // chroma bit depth, avgFrameRate
  picture.chroma_sampling = ChromaSampling(chroma_format_idc, {});
  picture.bit_depth = 8 + luma_above_8;
}

/// ISO/IEC 14496-15, 8.3.3.1.
NalConfiguration ReadRecord(std::span<const std::uint8_t> record) {
  constexpr std::size_t kProfileTierLevelSize = 12;
  ByteReader bytes(record);
  NalConfiguration configuration;
  bytes.Skip(1);  // configurationVersion
  BitReader profile(bytes.Take(kProfileTierLevelSize));
  ReadHevcProfileTierLevel(profile, configuration.picture);
  ReadRecordFormat(bytes, configuration.picture);
  configuration.nal_length_size = (bytes.U8() & 3) + 1;

  ParameterSets sets;
  const unsigned arrays = bytes.U8();
  for (unsigned array = 0; array < arrays && bytes.Ok(); ++array) {
    bytes.Skip(1);  // array_completeness, NAL_unit_type: the units tell it as well
    const unsigned count = bytes.Be16();
    for (unsigned i = 0; i < count && bytes.Ok(); ++i) {
      const auto nal = bytes.Take(bytes.Be16());
      if (!nal.empty()) sets.Add(nal);
    }
  }
  sets.Complete(configuration.picture);
  configuration.sei = sets.Sei();
  return configuration;
}

}  // namespace

std::optional<NalConfiguration> ReadHevcConfiguration(std::span<const std::uint8_t> extradata) {
  constexpr std::size_t kRecordHeaderSize = 23;
  // Before the standard was final, records were written with version 0; what follows tells them from start codes.
  const bool start_code = extradata.size() >= 3 && extradata[0] == 0 && extradata[1] == 0 && extradata[2] <= 1;
  if (!start_code) {
    if (extradata.size() < kRecordHeaderSize || extradata.front() > 1) return std::nullopt;
    return ReadRecord(extradata);
  }
  const ParameterSets sets = CollectSets(extradata, kAnnexB);
  if (!sets.HasSequence()) return std::nullopt;
  NalConfiguration configuration;
  configuration.nal_length_size = kAnnexB;
  configuration.sei = sets.Sei();
  sets.Complete(configuration.picture);
  return configuration;
}

void ReadHevcSei(std::span<const std::uint8_t> sample, int nal_length_size, SeiFacts& facts) {
  NalReader nals(sample, nal_length_size);
  for (auto nal = nals.Next(); !nal.empty() && !IsSlice(nal); nal = nals.Next()) {
    if (IsSei(nal)) ReadSei(NalPayload(nal, kNalHeaderSize), facts);
  }
}

std::optional<HevcPictureKind> KindOfHevcPicture(std::span<const std::uint8_t> sample, int nal_length_size) {
  NalReader nals(sample, nal_length_size);
  for (auto nal = nals.Next(); !nal.empty(); nal = nals.Next()) {
    if (!IsSlice(nal) || !IsBaseLayer(nal)) continue;
    const unsigned type = TypeOf(nal);
    if (type >= kFirstIdr && type <= kLastIdr) return HevcPictureKind::kIdr;
    if (type >= kFirstBla && type <= kLastBla) return HevcPictureKind::kBla;
    return type == kCra ? HevcPictureKind::kCra : HevcPictureKind::kOther;
  }
  return std::nullopt;
}

}  // namespace media_server::codec
