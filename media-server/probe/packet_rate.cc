#include "media-server/probe/packet_rate.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

// Enough for some ten seconds of picture and sound.
constexpr PacketBounds kBounds{.packets = 1024, .bytes = std::uint64_t{2} << 20};

constexpr int kLargestTerm = 100'000;

struct Measure {
  AVStream* stream = nullptr;
  std::int64_t pictures = 0;
  std::int64_t first = AV_NOPTS_VALUE;  // in ticks
  std::int64_t last = AV_NOPTS_VALUE;
};

void Count(const AVPacket& packet, Measure& measure) {
  ++measure.pictures;
  const std::int64_t time = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
  if (time == AV_NOPTS_VALUE) return;
  measure.first = measure.first == AV_NOPTS_VALUE ? time : std::min(measure.first, time);
  measure.last = measure.last == AV_NOPTS_VALUE ? time : std::max(measure.last, time);
}

AVRational MeanRate(const Measure& measure) {
  if (measure.pictures < 2 || measure.last <= measure.first) return {0, 1};
  const double seconds = static_cast<double>(measure.last - measure.first) * av_q2d(measure.stream->time_base);
  return av_d2q(static_cast<double>(measure.pictures - 1) / seconds, kLargestTerm);
}

bool HasRateOfClock(const AVStream& stream) {
  const bool is_picture = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !IsCover(stream);
  return is_picture && stream.avg_frame_rate.num <= 0;
}

// All in one walk: it passes the packets of all streams.
void MeasurePackets(AVFormatContext& context, std::vector<Measure>& measures) {
  PacketWalk walk(context, kBounds);
  while (const AVPacket* packet = walk.Next()) {
    const auto measure =
        std::ranges::find(measures, packet->stream_index, [](const Measure& m) { return m.stream->index; });
    if (measure != measures.end()) Count(*packet, *measure);
  }
  for (const Measure& measure : measures) {
    measure.stream->avg_frame_rate = MeanRate(measure);
    if (walk.ReachedEnd() == PacketWalk::End::kFile) measure.stream->nb_frames = measure.pictures;
  }
}

}  // namespace

void SetRatesOfPackets(AVFormatContext& context, const ToldRate& told_rate) {
  if (std::string_view(context.iformat->name) != "asf") return;
  std::vector<Measure> untold;
  for (AVStream* stream : Streams(context)) {
    if (!HasRateOfClock(*stream)) continue;
    stream->r_frame_rate = {0, 1};
    if (const auto told = told_rate(*stream)) {
      stream->avg_frame_rate = av_d2q(*told, kLargestTerm);
    } else {
      untold.push_back({.stream = stream});
    }
  }
  if (!untold.empty()) MeasurePackets(context, untold);
}

}  // namespace media_server::probe
