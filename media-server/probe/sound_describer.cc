#include "media-server/probe/sound_describer.h"

#include <algorithm>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/pcm_header.h"
#include "mediainfo/iaudio_info.h"

namespace media_server::probe {
namespace {

// Opus is always decoded at this rate; the rate that some containers store beside it is the encoder's input.
constexpr std::uint32_t kOpusRate = 48'000;

int CodecProperties(AVCodecID codec) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
  return descriptor != nullptr ? descriptor->props : 0;
}

std::uint32_t BitsPerSample(const AVCodecParameters& codec, bool may_be_lossless) {
  if (const int bits = av_get_bits_per_sample(codec.codec_id); bits > 0) return static_cast<std::uint32_t>(bits);
  if (!may_be_lossless) return 0;
  return static_cast<std::uint32_t>(
      std::max(0, codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample : codec.bits_per_coded_sample));
}

// The profile of AAC as its decoder specific information tells it: the audio object type less one (ISO/IEC
// 14496-3, 1.6.2.1).
std::int32_t AacProfile(const AVCodecParameters& codec) {
  constexpr unsigned kEscape = 31;  // longer object types follow; none of them is a profile of plain AAC
  if (codec.codec_id != AV_CODEC_ID_AAC || codec.extradata_size < 2) return kUnknownProfile;
  const unsigned object_type = codec.extradata[0] >> 3;
  return object_type == 0 || object_type == kEscape ? kUnknownProfile : static_cast<std::int32_t>(object_type) - 1;
}

}  // namespace

void DescribeSound(const AVStream& stream, bool encrypted, StreamDescription& description) {
  const AVCodecParameters& codec = *stream.codecpar;
  const int properties = CodecProperties(codec.codec_id);
  const bool may_be_lossless = (properties & AV_CODEC_PROP_LOSSLESS) != 0;
  const bool lossless = may_be_lossless && (properties & AV_CODEC_PROP_LOSSY) == 0;
  const bool uncompressed = av_get_exact_bits_per_sample(codec.codec_id) > 0 || PcmCarrierOf(codec).has_value();
  const bool variable_bit_rate = (lossless && !uncompressed) || codec.codec_id == AV_CODEC_ID_VORBIS;

  description.profile = codec.profile != kUnknownProfile ? codec.profile : AacProfile(codec);
  SoundFormat& sound = description.sound;
  sound.sample_rate =
      codec.codec_id == AV_CODEC_ID_OPUS ? kOpusRate : static_cast<std::uint32_t>(std::max(codec.sample_rate, 0));
  sound.sample_rate_hz = sound.sample_rate;
  sound.channels = static_cast<std::uint32_t>(std::max(codec.ch_layout.nb_channels, 0));
  sound.bits_per_sample = BitsPerSample(codec, may_be_lossless);
  sound.bit_rate = description.bit_rate;
  if (variable_bit_rate) sound.flags |= service::mediainfo::kAudioVariableBitRate;
  if (lossless) sound.flags |= service::mediainfo::kAudioLossless;
  if (encrypted) sound.flags |= service::mediainfo::kAudioEncrypted;
}

}  // namespace media_server::probe
