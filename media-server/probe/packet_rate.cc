#include "media-server/probe/packet_rate.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/streams.h"

namespace media_server::probe {
namespace {

// Enough for some ten seconds of picture and sound.
constexpr PacketBounds kBounds{.packets = 1024, .bytes = std::uint64_t{2} << 20};

constexpr int kLargestTerm = 100'000;

struct Measure {
  std::int64_t pictures = 0;
  std::int64_t first = AV_NOPTS_VALUE;  // in ticks
  std::int64_t last = AV_NOPTS_VALUE;
  bool to_the_end = false;
};

void Count(const AVPacket& packet, Measure& measure) {
  ++measure.pictures;
  const std::int64_t time = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
  if (time == AV_NOPTS_VALUE) return;
  measure.first = measure.first == AV_NOPTS_VALUE ? time : std::min(measure.first, time);
  measure.last = measure.last == AV_NOPTS_VALUE ? time : std::max(measure.last, time);
}

Measure MeasurePackets(AVFormatContext& context, const AVStream& stream) {
  Measure measure;
  PacketWalk walk(context, kBounds);
  while (const AVPacket* packet = walk.Next()) {
    if (packet->stream_index == stream.index) Count(*packet, measure);
  }
  measure.to_the_end = walk.ReachedEnd() == PacketWalk::End::kFile;
  return measure;
}

AVRational MeanRate(const Measure& measure, AVRational time_base) {
  if (measure.pictures < 2 || measure.last <= measure.first) return {0, 1};
  const double seconds = static_cast<double>(measure.last - measure.first) * av_q2d(time_base);
  return av_d2q(static_cast<double>(measure.pictures - 1) / seconds, kLargestTerm);
}

}  // namespace

bool HasRateOfClock(const AVFormatContext& context, const AVStream& stream) {
  return std::string_view(context.iformat->name) == "asf" && !IsCover(stream) && stream.avg_frame_rate.num <= 0;
}

void SetRateOfPackets(AVFormatContext& context, std::optional<double> told_rate, AVStream& stream) {
  stream.r_frame_rate = {0, 1};
  if (told_rate) {
    stream.avg_frame_rate = av_d2q(*told_rate, kLargestTerm);
    return;
  }
  const Measure measure = MeasurePackets(context, stream);
  stream.avg_frame_rate = MeanRate(measure, stream.time_base);
  if (measure.to_the_end) stream.nb_frames = measure.pictures;
}

}  // namespace media_server::probe
