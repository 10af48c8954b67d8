#include "media-server/probe/sound_describer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "media-server/codec/sound_configuration.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/pcm_header.h"
#include "mediainfo/iaudio_info.h"

namespace media_server::probe {
namespace {

using codec::SoundConfiguration;

// Opus is always decoded at this rate; the rate that some containers store beside it is the encoder's input.
constexpr std::uint32_t kOpusRate = 48'000;

bool HasProperty(AVCodecID codec, int property) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec);
  return descriptor != nullptr && (descriptor->props & property) != 0;
}

bool MayBeLossless(AVCodecID codec) { return HasProperty(codec, AV_CODEC_PROP_LOSSLESS); }

bool IsLosslessDts(int profile) {
  return profile == AV_PROFILE_DTS_HD_MA || profile == AV_PROFILE_DTS_HD_MA_X || profile == AV_PROFILE_DTS_HD_MA_X_IMAX;
}

bool IsAlwaysLossless(const AVCodecParameters& codec) {
  if (codec.codec_id == AV_CODEC_ID_DTS) return IsLosslessDts(codec.profile);
  return MayBeLossless(codec.codec_id) && !HasProperty(codec.codec_id, AV_CODEC_PROP_LOSSY);
}

// libavformat counts bytes of eight samples.
constexpr std::uint32_t kDsdBitsPerByte = 8;

bool IsDsd(AVCodecID codec) {
  constexpr AVCodecID kDsd[] = {AV_CODEC_ID_DSD_LSBF, AV_CODEC_ID_DSD_MSBF, AV_CODEC_ID_DSD_LSBF_PLANAR,
                                AV_CODEC_ID_DSD_MSBF_PLANAR};
  return std::ranges::find(kDsd, codec) != std::end(kDsd);
}

std::uint32_t BitsPerSample(const AVCodecParameters& codec, bool may_be_lossless) {
  if (IsDsd(codec.codec_id)) return 1;
  if (const int bits = av_get_bits_per_sample(codec.codec_id); bits > 0) return static_cast<std::uint32_t>(bits);
  // Of DTS a container has the depth of what was encoded, or of the samples that it passes for.
  if (!may_be_lossless || codec.codec_id == AV_CODEC_ID_DTS) return 0;
  return static_cast<std::uint32_t>(
      std::max(0, codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample : codec.bits_per_coded_sample));
}

struct HeaderReader {
  AVCodecID codec;
  SoundConfiguration (*read)(std::span<const std::uint8_t> bytes);
};

constexpr HeaderReader kHeaderReaders[] = {
    {AV_CODEC_ID_AAC, &codec::ReadAacConfiguration},
    {AV_CODEC_ID_ALAC, &codec::ReadAlacConfiguration},
    {AV_CODEC_ID_FLAC, &codec::ReadFlacConfiguration},
    {AV_CODEC_ID_OPUS, &codec::ReadOpusConfiguration},
};

SoundConfiguration ReadConfiguration(const AVCodecParameters& codec) {
  const auto* reader = std::ranges::find(kHeaderReaders, codec.codec_id, &HeaderReader::codec);
  if (reader == std::end(kHeaderReaders)) return {};
  return reader->read({codec.extradata, static_cast<std::size_t>(std::max(codec.extradata_size, 0))});
}

}  // namespace

void DescribeSound(const AVStream& stream, const TrackFacts& track, StreamDescription& description) {
  const AVCodecParameters& codec = *stream.codecpar;
  const bool may_be_lossless = MayBeLossless(codec.codec_id);
  const bool lossless = may_be_lossless && track.lossless.value_or(IsAlwaysLossless(codec));
  const bool uncompressed = av_get_exact_bits_per_sample(codec.codec_id) > 0 || PcmCarrierOf(codec).has_value();
  const bool variable_bit_rate = (lossless && !uncompressed) || codec.codec_id == AV_CODEC_ID_VORBIS;

  const SoundConfiguration header = ReadConfiguration(codec);
  description.profile = codec.profile != kUnknownProfile ? codec.profile : header.profile.value_or(kUnknownProfile);
  SoundFormat& sound = description.sound;
  sound.sample_rate = header.sample_rate_hz.value_or(static_cast<std::uint32_t>(std::max(codec.sample_rate, 0)));
  if (codec.codec_id == AV_CODEC_ID_OPUS) sound.sample_rate = kOpusRate;
  if (IsDsd(codec.codec_id)) sound.sample_rate *= kDsdBitsPerByte;
  sound.sample_rate_hz = sound.sample_rate;
  sound.channels = header.channels.value_or(static_cast<std::uint32_t>(std::max(codec.ch_layout.nb_channels, 0)));
  sound.bits_per_sample = header.bits_per_sample.value_or(BitsPerSample(codec, may_be_lossless));
  sound.bit_rate = description.bit_rate;
  if (variable_bit_rate) sound.flags |= service::mediainfo::kAudioVariableBitRate;
  if (lossless) sound.flags |= service::mediainfo::kAudioLossless;
  if (track.encrypted) sound.flags |= service::mediainfo::kAudioEncrypted;
}

}  // namespace media_server::probe
