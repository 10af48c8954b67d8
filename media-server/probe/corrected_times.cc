#include "media-server/probe/corrected_times.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

#include "media-server/container/frame_length.h"
#include "media-server/container/matroska_end.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"
#include "media-server/probe/timing.h"

namespace media_server::probe {
namespace {

// libavformat goes from fragment to fragment for the times of the file. Where that took more than may be read, the
// index tells the end.
void SetEndOfFragments(const Mp4Duration& duration, AVFormatContext& context) {
  const AVRational seconds{1, static_cast<int>(duration.timescale)};
  const auto ticks = static_cast<std::int64_t>(duration.value);
  context.duration = av_rescale_q(ticks, seconds, {1, AV_TIME_BASE});
  for (AVStream* stream : Streams(context)) stream->duration = av_rescale_q(ticks, seconds, stream->time_base);
}

void SetSeconds(std::optional<double> seconds, AVFormatContext& context) {
  const auto in_ticks = [&](double ticks_per_second) -> std::int64_t {
    constexpr double kMost = 9e18;  // a file may claim more than 64 bits hold
    return seconds ? std::llround(std::min(*seconds * ticks_per_second, kMost)) : AV_NOPTS_VALUE;
  };
  context.duration = in_ticks(AV_TIME_BASE);
  for (AVStream* stream : Streams(context)) stream->duration = in_ticks(1 / av_q2d(stream->time_base));
}

// libavformat takes the latest time that it has seen for the end where the end itself cannot be read.
void ForgetTimesOfEnd(AVFormatContext& context) {
  if (context.duration_estimation_method != AVFMT_DURATION_FROM_PTS) return;
  SetSeconds(std::nullopt, context);
  context.bit_rate = 0;
}

// The length of sound that reaches to the end of the file, whatever its header says; of none where that is not known.
void SetLengthOfSound(std::optional<std::uint64_t> bytes, AVFormatContext& context) {
  for (AVStream* stream : Streams(context)) {
    const std::uint64_t bit_rate = StreamBitRate(*stream);
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    if (!bytes || bit_rate == 0 || bit_rate > INT_MAX || *bytes > INT64_MAX / 8) {
      stream->duration = context.duration = AV_NOPTS_VALUE;
      continue;
    }
    const auto bits = static_cast<std::int64_t>(*bytes * 8);
    const AVRational seconds_per_bit{1, static_cast<int>(bit_rate)};
    stream->duration = av_rescale_q(bits, seconds_per_bit, stream->time_base);
    context.duration = av_rescale_q(bits, seconds_per_bit, {1, AV_TIME_BASE});
  }
}

// libavformat gives a track no length whose header leaves it open, or whose edit has none because it is to the end.
// Edits may leave out a part of the samples: the movie's header tells the longest track.
void SetLengthsOfTracks(const ContainerFacts& container, AVFormatContext& context) {
  const auto& movie = container.movie->duration;
  for (AVStream* stream : Streams(context)) {
    const Mp4Track* track = container.TrackOf(*stream);
    if (stream->duration > 0 || track == nullptr || !track->duration) continue;
    double seconds = track->duration->Seconds();
    if (movie) seconds = std::min(seconds, movie->Seconds());
    stream->duration = std::llround(seconds / av_q2d(stream->time_base));
  }
  // Where libavformat has summed up the tracks, it has left out subtitles that go on after the picture.
  context.duration = AV_NOPTS_VALUE;
  if (movie && FileDuration(context, std::nullopt) == 0)
    context.duration = std::llround(movie->Seconds() * AV_TIME_BASE);
}

// A writer that could not go back, as those of browsers, has told no length, and libavformat does not look for it.
void SetEndOfMatroska(const MatroskaScan& scan, BoundedSource& source, AVFormatContext& context) {
  source.KeepEnd(kMostOfMatroskaEnd);
  const auto end = ReadMatroskaEnd(source, scan);
  if (!end) return;
  const std::int64_t start = context.start_time != AV_NOPTS_VALUE ? std::max<std::int64_t>(context.start_time, 0) : 0;
  const double seconds = *end - static_cast<double>(start) / AV_TIME_BASE;
  if (seconds > 0) SetSeconds(seconds, context);
}

// libavformat takes samples for as wide as they have bits when it counts them, and for floating-point ones where 24
// bits stand in 32, as one program wrote them before there was a format to tell.
void CorrectPaddedSamples(const RiffPaddedSamples& samples, AVFormatContext& context) {
  struct Row {
    std::uint32_t room_bits;
    AVCodecID codec;
  };
  constexpr Row kIntegers[] = {{16, AV_CODEC_ID_PCM_S16LE}, {24, AV_CODEC_ID_PCM_S24LE}, {32, AV_CODEC_ID_PCM_S32LE}};
  const auto* row = std::ranges::find(kIntegers, samples.room_bits, &Row::room_bits);
  for (AVStream* stream : Streams(context)) {
    const bool is_known = samples.is_extensible && row != std::end(kIntegers);
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && is_known) stream->codecpar->codec_id = row->codec;
  }
  SetSeconds(samples.seconds, context);
}

// libavformat has counted the bytes of the samples that were left to it.
void SetRatesOfShortenedIndexes(const ContainerFacts& container, AVFormatContext& context) {
  for (AVStream* stream : Streams(context)) {
    const Mp4Track* track = container.TrackOf(*stream);
    if (track == nullptr || !track->index_cut || !track->duration) continue;
    const auto ticks = static_cast<std::int64_t>(std::min(track->duration->value, track->decoding_times->ticks));
    const auto rate_of = [&](std::uint64_t bytes) {
      const std::int64_t ticks_per_second = track->timescale;
      return av_rescale_rnd(static_cast<std::int64_t>(bytes), 8 * ticks_per_second, ticks, AV_ROUND_DOWN);
    };
    auto& bit_rate = stream->codecpar->bit_rate;
    if (ticks > 0 && bit_rate == rate_of(track->index_cut->bytes)) bit_rate = rate_of(track->index_cut->bytes_of_all);
  }
}

// Where no header tells the length, libavformat takes the bit rate of the first frames for that of all.
void MeasureSound(IByteSource& source, AVFormatContext& context) {
  const std::string_view demuxer = context.iformat->name;
  const bool is_guessed = context.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE;
  if (!is_guessed || (demuxer != "aac" && demuxer != "mp3")) return;
  const auto length = MeasureFrames(source);
  if (!length) return;
  SetSeconds(length->seconds, context);
  for (AVStream* stream : Streams(context)) {
    const bool is_sound = stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (is_sound) stream->codecpar->bit_rate = static_cast<std::int64_t>(length->bit_rate);
  }
}

}  // namespace

void CorrectTimes(const ContainerFacts& container, BoundedSource& source, AVFormatContext& context) {
  if (container.movie && container.movie->fragment_duration && source.Spent()) {
    SetEndOfFragments(*container.movie->fragment_duration, context);
  }
  if (container.movie && container.movie->indexed_bit_rate > 0) {
    SetRatesOfFragments(context, container.movie->indexed_bit_rate);
  }
  if (container.matroska && !container.matroska->tells_duration) SetEndOfMatroska(*container.matroska, source, context);
  if (source.LeftOutOfReach()) ForgetTimesOfEnd(context);
  if (container.movie && !container.movie->has_fragments) {
    SetRatesOfShortenedIndexes(container, context);
    SetLengthsOfTracks(container, context);
  }
  if (container.padded_samples) CorrectPaddedSamples(*container.padded_samples, context);
  if (container.sound_to_end) SetLengthOfSound(container.sound_to_end->size_bytes, context);
  SetRateOfFieldClock(context);
  CompleteLastPicture(context);
  MeasureSound(source, context);
  if (container.sound_seconds) SetSeconds(*container.sound_seconds, context);
  if (container.ogg_chain) SetSeconds(container.ogg_chain->seconds, context);
  if (container.told_seconds && context.duration <= 0) SetSeconds(*container.told_seconds, context);
}

}  // namespace media_server::probe
