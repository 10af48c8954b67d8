#include "media-server/probe/mpeg_audio.h"

#include <array>
#include <cstddef>

#include "media-server/container/mpeg_audio_header.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

constexpr std::array kCodecOfLayer = {AV_CODEC_ID_MP1, AV_CODEC_ID_MP2, AV_CODEC_ID_MP3};

}  // namespace

void DescribeMpegAudio(const SampleReader& samples, AVStream& stream) {
  if (!IsMpegAudio(stream)) return;
  AVCodecParameters& codec = *stream.codecpar;
  const bool has_index = samples.SampleCount(stream) > 0;
  // Who has seen frames has told their bit rate.
  if (!has_index && codec.bit_rate > 0) return;
  const auto header =
      ReadMpegAudioHeader(has_index ? samples.ReadStart(stream, 0, kMpegAudioHeaderSize) : samples.ReadFirst(stream));
  if (!header) return;
  if (!has_index) codec.bit_rate = header->bit_rate;
  codec.codec_id = kCodecOfLayer[static_cast<std::size_t>(header->layer - 1)];
  codec.sample_rate = static_cast<int>(header->sample_rate_hz);
  av_channel_layout_uninit(&codec.ch_layout);
  av_channel_layout_default(&codec.ch_layout, static_cast<int>(header->channels));
}

}  // namespace media_server::probe
