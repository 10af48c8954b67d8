#include "media-server/probe/elementary_stream.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/timing.h"

namespace media_server::probe {
namespace {

// Files up to this size are counted to the end; parsing this much takes some milliseconds.
constexpr std::uint64_t kMostBytesCounted = std::uint64_t{2} << 20;

struct Count {
  double pictures = 0;
  std::uint64_t bytes = 0;
  bool to_the_end = false;
};

// The end of a Dirac sequence comes as a packet of its own, a parse info without pictures.
bool IsPicture(const AVFormatContext& context, const AVPacket& packet) {
  constexpr std::size_t kParseInfo = 13;
  return context.streams[0]->codecpar->codec_id != AV_CODEC_ID_DIRAC || BytesOf(packet).size() > kParseInfo;
}

// H.264 may code the two fields of a picture one by one. libavformat makes a packet of each, which lasts half as long.
bool IsField(const AVPacket& packet, const AVStream& stream, double rate) {
  return stream.codecpar->codec_id == AV_CODEC_ID_H264 && packet.duration > 0 &&
         static_cast<double>(packet.duration) * av_q2d(stream.time_base) * rate < 0.75;
}

Count CountPictures(AVFormatContext& context, const PacketSum& taken, double rate) {
  PacketWalk walk(context, {.bytes = kMostBytesCounted});
  auto pictures = static_cast<double>(taken.packets);
  while (const AVPacket* packet = walk.Next()) {
    if (IsPicture(context, *packet)) pictures += IsField(*packet, *context.streams[0], rate) ? 0.5 : 1;
  }
  return {pictures, taken.bytes + walk.Seen().bytes, /*to_the_end=*/walk.ReachedEnd() != PacketWalk::End::kBound};
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
  const double part = count.to_the_end ? 1 : static_cast<double>(size) / static_cast<double>(count.bytes);
  const double pictures = std::clamp<double>(std::round(count.pictures * std::max(part, 1.0)), 1,
                                             std::numeric_limits<std::uint32_t>::max());
  return PictureTiming{rate, static_cast<std::uint32_t>(pictures), pictures / rate};
}

}  // namespace media_server::probe
