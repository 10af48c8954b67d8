#include "media-server/probe/timing.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <span>
#include <string_view>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

// A counted number of frames that is this many times what duration and rate amount to is no count of frames.
constexpr double kMostFramesOverEstimate = 8;

// A bit rate field of all ones in an MPEG-1 sequence header says that the rate is variable (ISO/IEC 11172-2, 2.4.3.2).
constexpr std::int64_t kMpegVariableRate = 0x3FFFF * std::int64_t{400};

constexpr double kLargestCount = std::numeric_limits<std::uint32_t>::max();

std::optional<std::uint64_t> NumberTag(const AVStream& stream, const char* key) {
  const auto text = StreamTag(stream, key);
  std::uint64_t value = 0;
  if (!text || std::from_chars(text->data(), text->data() + text->size(), value).ec != std::errc()) return std::nullopt;
  return value;
}

template <typename Number>
bool TakeNumber(std::string_view& text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc();
}

bool TakeColon(std::string_view& text) {
  if (!text.starts_with(':')) return false;
  text.remove_prefix(1);
  return true;
}

// Seconds of "hours:minutes:seconds" with a fraction behind a point, whatever the process's locale has in its place.
std::optional<double> SecondsOfClock(std::string_view text) {
  unsigned hours = 0;
  unsigned minutes = 0;
  double seconds = 0;
  const bool is_clock = TakeNumber(text, hours) && TakeColon(text) && TakeNumber(text, minutes) && TakeColon(text) &&
                        TakeNumber(text, seconds);
  return is_clock ? std::optional(hours * 3600.0 + minutes * 60.0 + seconds) : std::nullopt;
}

double Seconds(std::int64_t ticks, AVRational time_base) { return static_cast<double>(ticks) * av_q2d(time_base); }

bool IsMovingPicture(const AVStream& stream) {
  return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !IsCover(stream);
}

bool IsTimed(const AVStream& stream) {
  const AVMediaType type = stream.codecpar->codec_type;
  return IsMovingPicture(stream) || type == AVMEDIA_TYPE_AUDIO || type == AVMEDIA_TYPE_SUBTITLE;
}

// Demuxers that have libavformat note the places of packets know none themselves: behind a header one follows the
// other. The rates of sound in Ogg are what its encoder was asked for.
double DurationOfSound(const AVFormatContext& context, std::optional<std::uint64_t> size) {
  if (!size || (context.iformat->flags & AVFMT_GENERIC_INDEX) == 0) return 0;
  if (std::string_view(context.iformat->name) == "ogg") return 0;
  double bit_rate = 0;
  for (const AVStream* stream : Streams(context)) {
    if (!IsTimed(*stream)) continue;
    const std::uint64_t rate = stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO ? StreamBitRate(*stream) : 0;
    if (rate == 0) return 0;
    bit_rate += static_cast<double>(rate);
  }
  return bit_rate > 0 ? static_cast<double>(*size) * 8 / bit_rate : 0;
}

// Samples in a stream's index but the last one, of which only the beginning is known.
struct IndexedPart {
  double bits = 0;
  double seconds = 0;

  double BitRate() const { return seconds > 0 ? bits / seconds : 0; }
};

IndexedPart IndexedPartOf(AVStream& stream) {
  const int last = avformat_index_get_entries_count(&stream) - 1;
  if (last < 1) return {};
  IndexedPart part;
  for (int i = 0; i < last; ++i) part.bits += 8.0 * avformat_index_get_entry(&stream, i)->size;
  const std::int64_t ticks =
      avformat_index_get_entry(&stream, last)->timestamp - avformat_index_get_entry(&stream, 0)->timestamp;
  part.seconds = Seconds(ticks, stream.time_base);
  return part;
}

bool IsPartlyIndexed(AVStream* stream) {
  const double seconds = IndexedPartOf(*stream).seconds;
  return seconds > 0 && stream->duration > 0 && seconds < Seconds(stream->duration, stream->time_base) / 2;
}

bool IsMpegVideo(AVCodecID codec) { return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO; }

// What the codec's headers tell. Where it sees few pictures, libavformat makes a rate of fields of it (r_frame_rate),
// or takes that of its clock.
AVRational CodedRate([[maybe_unused]] const AVCodecParameters& codec) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 12, 100)  // FFmpeg 6.1
  return codec.framerate;
#else
  return {0, 1};
#endif
}
constexpr AVRational kClockOfTransport{90'000, 1};

// Cover pictures and pictures of an unknown rate count as one.
std::uint32_t AtLeastOne(double count) {
  return count >= 1 ? static_cast<std::uint32_t>(std::min(std::round(count), kLargestCount)) : 1;
}

}  // namespace

std::optional<std::string> StreamTag(const AVStream& stream, const char* key) {
  const AVDictionaryEntry* entry = av_dict_get(stream.metadata, key, nullptr, 0);
  if (entry == nullptr) {
    const std::string with_language = std::string(key) + "-";
    entry = av_dict_get(stream.metadata, with_language.c_str(), nullptr, AV_DICT_IGNORE_SUFFIX);
  }
  if (entry == nullptr) return std::nullopt;
  return entry->value;
}

std::optional<double> StreamDuration(const AVStream& stream) {
  if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0) return Seconds(stream.duration, stream.time_base);
  const auto duration = SecondsOfClock(StreamTag(stream, "DURATION").value_or(""));
  if (!duration || !std::isfinite(*duration) || *duration <= 0) return std::nullopt;
  return duration;
}

double FileDuration(const AVFormatContext& context, std::optional<std::uint64_t> size) {
  if (context.duration != AV_NOPTS_VALUE && context.duration > 0) {
    return static_cast<double>(context.duration) / AV_TIME_BASE;
  }
  double start = std::numeric_limits<double>::infinity();
  double end = 0;
  for (const AVStream* stream : Streams(context)) {
    const auto duration = StreamDuration(*stream);
    if (!IsTimed(*stream) || !duration) continue;
    const double stream_start =
        stream->start_time == AV_NOPTS_VALUE ? 0 : Seconds(stream->start_time, stream->time_base);
    start = std::min(start, stream_start);
    end = std::max(end, stream_start + *duration);
  }
  return end > start ? end - start : DurationOfSound(context, size);
}

std::uint64_t FileBitRate(const AVFormatContext& context, std::optional<std::uint64_t> size, double duration) {
  if (size && duration > 0) {
    const double rate = static_cast<double>(*size) * 8 / duration;
    if (rate < 1e18) return static_cast<std::uint64_t>(rate);
  }
  return context.bit_rate > 0 ? static_cast<std::uint64_t>(context.bit_rate) : 0;
}

std::uint64_t StreamBitRate(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (codec.codec_type == AVMEDIA_TYPE_AUDIO && codec.sample_rate > 0 && codec.ch_layout.nb_channels > 0) {
    if (const int bits = av_get_exact_bits_per_sample(codec.codec_id); bits > 0) {
      return std::uint64_t{static_cast<unsigned>(bits)} * static_cast<unsigned>(codec.sample_rate) *
             static_cast<unsigned>(codec.ch_layout.nb_channels);
    }
  }
  const bool told = codec.bit_rate > 0 && !(IsMpegVideo(codec.codec_id) && codec.bit_rate == kMpegVariableRate);
  if (told) return static_cast<std::uint64_t>(codec.bit_rate);
  return NumberTag(stream, "BPS").value_or(0);
}

void SetRatesOfFragments(AVFormatContext& context, double rate_of_all) {
  const auto streams = Streams(context);
  if (std::ranges::none_of(streams, &IsPartlyIndexed)) return;
  double pictures = 0;
  double others = 0;
  for (AVStream* stream : streams) {
    const double rate = IndexedPartOf(*stream).BitRate();
    if (rate == 0) continue;
    (IsMovingPicture(*stream) ? pictures : others) += rate;
    stream->codecpar->bit_rate = std::llround(rate);
  }
  const double share = pictures > 0 ? (rate_of_all - others) / pictures : rate_of_all / others;
  if (share <= 0) return;
  for (AVStream* stream : streams) {
    const bool is_sharing = IsMovingPicture(*stream) == (pictures > 0) && IndexedPartOf(*stream).BitRate() > 0;
    auto& bit_rate = stream->codecpar->bit_rate;
    if (is_sharing) bit_rate = std::llround(std::min(static_cast<double>(bit_rate) * share, kLargestCount));
  }
}

void SetRateOfFieldClock(AVFormatContext& context) {
  if (std::string_view(context.iformat->name) != "gxf") return;
  for (AVStream* stream : Streams(context)) {
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
    stream->avg_frame_rate = av_mul_q(av_inv_q(stream->time_base), {1, 2});
  }
}

void CompleteLastPicture(AVFormatContext& context) {
  if (context.duration_estimation_method != AVFMT_DURATION_FROM_PTS) return;
  for (AVStream* stream : Streams(context)) {
    const double rate = FrameRate(*stream);
    if (stream->codecpar->codec_id != AV_CODEC_ID_MPEG1VIDEO || stream->duration <= 0 || rate <= 0) continue;
    const double pictures = Seconds(stream->duration, stream->time_base) * rate;
    constexpr double kInexactness = 0.05;
    if (std::abs(pictures - std::floor(pictures) - 0.5) > kInexactness) continue;
    stream->duration += std::llround(0.5 / rate / av_q2d(stream->time_base));
    if (stream->start_time == AV_NOPTS_VALUE || context.start_time == AV_NOPTS_VALUE) continue;
    const std::int64_t end = av_sat_add64(stream->start_time, stream->duration);
    const std::int64_t end_of_file = av_rescale_q(end, stream->time_base, {1, AV_TIME_BASE});
    context.duration = std::max(context.duration, av_sat_sub64(end_of_file, context.start_time));
  }
}

double FrameRate(const AVStream& stream) {
  if (IsCover(stream)) return 0;  // libavformat gives a cover the rate of its clock
  for (const AVRational rate : {stream.avg_frame_rate, CodedRate(*stream.codecpar), stream.r_frame_rate}) {
    if (rate.num > 0 && rate.den > 0 && av_cmp_q(rate, kClockOfTransport) < 0) return av_q2d(rate);
  }
  return 0;
}

std::uint32_t FrameCount(const AVStream& stream, std::uint32_t sample_count, double duration, double frame_rate) {
  if (IsCover(stream)) return 1;
  const double estimated = duration * frame_rate;
  if (stream.nb_frames > 0 && static_cast<std::uint64_t>(stream.nb_frames) >= sample_count) {
    // Some writers of IVF put the length in clock ticks where the count belongs.
    const bool believable =
        estimated < 1 || static_cast<double>(stream.nb_frames) <= kMostFramesOverEstimate * estimated;
    if (believable) return AtLeastOne(static_cast<double>(stream.nb_frames));
  }
  // Fragments are counted by the index, which may stop before the last one.
  if (sample_count > 0) return AtLeastOne(std::max<double>(sample_count, estimated));
  if (const auto counted = NumberTag(stream, "NUMBER_OF_FRAMES")) return AtLeastOne(static_cast<double>(*counted));
  return AtLeastOne(estimated);
}

std::uint32_t Saturated(std::uint64_t value) {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, std::numeric_limits<std::uint32_t>::max()));
}

double NumberOf(const std::optional<core::Rational>& fraction, double unknown) {
  return fraction ? static_cast<double>(fraction->numerator) / static_cast<double>(fraction->denominator) : unknown;
}

}  // namespace media_server::probe
