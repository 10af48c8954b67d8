#include "media-server/probe/packet_walk.h"

#include <algorithm>
#include <cstddef>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

std::span<const std::uint8_t> BytesOf(const AVPacket& packet) {
  return {packet.data, static_cast<std::size_t>(std::max(packet.size, 0))};
}

PacketWalk::PacketWalk(AVFormatContext& context, const PacketBounds& bounds)
    : context_(context), bounds_(bounds), packet_(av_packet_alloc()) {
  if (!packet_) end_ = End::kError;
}

const AVPacket* PacketWalk::Next() {
  if (end_ != End::kNone) return nullptr;
  av_packet_unref(packet_.get());
  if (packets_seen_ >= bounds_.packets || bytes_seen_ >= bounds_.bytes) {
    end_ = End::kBound;
    return nullptr;
  }
  if (const int status = av_read_frame(&context_, packet_.get()); status < 0) {
    end_ = status == AVERROR_EOF ? End::kFile : End::kError;
    return nullptr;
  }
  ++packets_seen_;
  bytes_seen_ += BytesOf(*packet_).size();
  ticks_seen_ = av_sat_add64(ticks_seen_, packet_->duration);
  return packet_.get();
}

}  // namespace media_server::probe
