#include "media-server/probe/elementary_stream.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "media-server/probe/dirac_sequence.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/timing.h"

namespace media_server::probe {
namespace {

// Files up to this size are counted to the end; parsing this much takes some milliseconds.
constexpr std::uint64_t kMostBytesCounted = std::uint64_t{2} << 20;

struct Count {
  double pictures = 0;
  double times = 0;  // that frames of the stream's rate would take
  std::uint64_t bytes = 0;
  bool to_the_end = false;
};

// The end of a Dirac sequence comes as a packet of its own, a parse info without pictures.
bool IsPicture(const AVPacket& packet, const AVStream& stream) {
  return stream.codecpar->codec_id != AV_CODEC_ID_DIRAC || BytesOf(packet).size() > kDiracParseInfo;
}

// For how many frame times a packet is shown: half of one where H.264 codes the fields of a picture one by one, of
// which libavformat makes packets; one and a half where MPEG-2 shows a field of a film again. Three at most.
double FrameTimesOf(double ticks, const AVStream& stream, double rate) {
  const AVCodecID codec = stream.codecpar->codec_id;
  if ((codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_MPEG2VIDEO) || ticks <= 0) return 1;
  const double fields = 2 * ticks * av_q2d(stream.time_base) * rate;
  return std::clamp(std::round(fields), 1.0, 6.0) / 2;
}

Count CountPictures(AVFormatContext& context, const PacketSum& taken, double rate) {
  const AVStream& stream = *context.streams[0];
  PacketWalk walk(context, {.bytes = kMostBytesCounted});
  Count count;
  const auto packets = static_cast<double>(taken.packets);
  const double times_of_taken = FrameTimesOf(static_cast<double>(taken.ticks) / std::max(packets, 1.0), stream, rate);
  count.pictures = packets * std::min(times_of_taken, 1.0);
  count.times = packets * times_of_taken;
  while (const AVPacket* packet = walk.Next()) {
    if (!IsPicture(*packet, stream)) continue;
    const double times = FrameTimesOf(static_cast<double>(packet->duration), stream, rate);
    count.pictures += std::min(times, 1.0);
    count.times += times;
  }
  count.bytes = taken.bytes + walk.Seen().bytes;
  count.to_the_end = walk.ReachedEnd() != PacketWalk::End::kBound;
  return count;
}

}  // namespace

bool IsElementaryPictureStream(const AVFormatContext& context) {
  constexpr int kHasNoClock = AVFMT_GENERIC_INDEX | AVFMT_NOTIMESTAMPS;  // libavformat's raw picture demuxers
  return (context.iformat->flags & kHasNoClock) == kHasNoClock && context.nb_streams == 1 &&
         context.streams[0]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
}

std::optional<PictureTiming> TimeElementaryStream(AVFormatContext& context, const PacketSum& taken, double header_rate,
                                                  std::uint64_t size) {
  // libavformat assumes 25 frames per second where nothing tells.
  const double rate = header_rate > 0 ? header_rate : FrameRate(*context.streams[0]);
  const Count count = CountPictures(context, taken, rate);
  if (rate <= 0 || count.bytes == 0) return std::nullopt;
  const double part =
      count.to_the_end ? 1 : std::max(static_cast<double>(size) / static_cast<double>(count.bytes), 1.0);
  const double pictures =
      std::clamp<double>(std::round(count.pictures * part), 1, std::numeric_limits<std::uint32_t>::max());
  const double times = count.to_the_end ? count.times : std::round(count.times * part);
  return PictureTiming{rate, static_cast<std::uint32_t>(pictures), times / rate};
}

}  // namespace media_server::probe
