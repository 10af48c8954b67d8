#include "media-server/probe/sound_describer.h"

#include <algorithm>

#include "media-server/probe/ffmpeg.h"
#include "mediainfo/iaudio_info.h"

namespace media_server::probe {
namespace {

// Opus is always decoded at this rate; the rate that some containers store beside it is the encoder's input.
constexpr std::uint32_t kOpusRate = 48'000;

bool IsLossless(AVCodecID codec) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
  return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_LOSSLESS) != 0 &&
         (descriptor->props & AV_CODEC_PROP_LOSSY) == 0;
}

std::uint32_t BitsPerSample(const AVCodecParameters& codec, bool lossless) {
  if (const int bits = av_get_bits_per_sample(codec.codec_id); bits > 0) return static_cast<std::uint32_t>(bits);
  if (!lossless) return 0;
  return static_cast<std::uint32_t>(
      std::max(0, codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample : codec.bits_per_coded_sample));
}

}  // namespace

void DescribeSound(const AVStream& stream, bool encrypted, StreamDescription& description) {
  const AVCodecParameters& codec = *stream.codecpar;
  const bool lossless = IsLossless(codec.codec_id);
  const bool uncompressed = av_get_exact_bits_per_sample(codec.codec_id) > 0;
  const bool variable_bit_rate = (lossless && !uncompressed) || codec.codec_id == AV_CODEC_ID_VORBIS;

  description.profile = codec.profile;
  SoundFormat& sound = description.sound;
  sound.sample_rate =
      codec.codec_id == AV_CODEC_ID_OPUS ? kOpusRate : static_cast<std::uint32_t>(std::max(codec.sample_rate, 0));
  sound.sample_rate_hz = sound.sample_rate;
  sound.channels = static_cast<std::uint32_t>(std::max(codec.ch_layout.nb_channels, 0));
  sound.bits_per_sample = BitsPerSample(codec, lossless);
  sound.bit_rate = description.bit_rate;
  if (variable_bit_rate) sound.flags |= service::mediainfo::kAudioVariableBitRate;
  if (lossless) sound.flags |= service::mediainfo::kAudioLossless;
  if (encrypted) sound.flags |= service::mediainfo::kAudioEncrypted;
}

}  // namespace media_server::probe
