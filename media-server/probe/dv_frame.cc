#include "media-server/probe/dv_frame.h"

#include <algorithm>
#include <cstddef>

#include "media-server/codec/video_usability.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"

extern "C" {
#include <libavcodec/dv_profile.h>
}

namespace media_server::probe {
namespace {

// Sound comes before and between the pictures.
constexpr int kMostPackets = 32;

constexpr std::size_t kBlock = 80;

// The video source control pack in the sixth block of a frame: its code, then four bytes (IEC 61834-4, 9.2).
constexpr std::size_t kSourceControl = 5 * kBlock + 48 + 5;
constexpr std::uint8_t kSourceControlCode = 0x61;
constexpr std::size_t kFieldFlags = kSourceControl + 3;
constexpr std::uint8_t kFirstField = 0x40;
constexpr std::uint8_t kInterlaced = 0x10;

// 720 lines are never interlaced. The flag that names the first field means the upper one in frames of 1080 lines and
// the lower one in all others.
std::optional<codec::FieldOrder> FieldOrderOf(std::span<const std::uint8_t> frame, int lines) {
  if (frame[kSourceControl] != kSourceControlCode) return std::nullopt;
  const bool first_field = (frame[kFieldFlags] & kFirstField) != 0;
  if (lines == 720 || (lines != 1080 && (frame[kFieldFlags] & kInterlaced) == 0))
    return codec::FieldOrder::kProgressive;
  return first_field == (lines == 1080) ? codec::FieldOrder::kTopFirst : codec::FieldOrder::kBottomFirst;
}

std::optional<int> ChromaOf(AVPixelFormat format) {
  switch (format) {
    case AV_PIX_FMT_YUV420P:
      return codec::kChroma420;
    case AV_PIX_FMT_YUV411P:
      return codec::kChroma411;
    case AV_PIX_FMT_YUV422P:
      return codec::kChroma422;
    default:
      return std::nullopt;
  }
}

AVRational RationalOf(const core::Rational& ratio) {
  return {static_cast<int>(ratio.numerator), static_cast<int>(ratio.denominator)};
}

}  // namespace

std::optional<codec::PictureParameters> ReadDvFrame(std::span<const std::uint8_t> frame) {
  const AVDVProfile* profile =
      frame.size() < DV_PROFILE_BYTES
          ? nullptr
          : av_dv_frame_profile(/*sys=*/nullptr, frame.data(), static_cast<unsigned>(frame.size()));
  if (profile == nullptr) return std::nullopt;
  codec::PictureParameters picture;
  codec::SetPictureSize(picture, static_cast<std::uint64_t>(profile->width),
                        static_cast<std::uint64_t>(profile->height));
  picture.frame_rate = codec::PositiveRatio(static_cast<std::uint64_t>(profile->time_base.den),
                                            static_cast<std::uint64_t>(profile->time_base.num));
  picture.field_order = FieldOrderOf(frame, profile->height);
  picture.chroma_sampling = ChromaOf(profile->pix_fmt);
  picture.bit_depth = 8;
  return picture;
}

bool IsUnsizedDv(const AVStream& stream) {
  return stream.codecpar->codec_id == AV_CODEC_ID_DVVIDEO && stream.codecpar->width <= 0;
}

codec::PictureParameters ReadNextDvFrame(AVFormatContext& context, AVStream& stream) {
  PacketWalk walk(context, {.packets = kMostPackets});
  const AVPacket* packet = walk.Next();
  while (packet != nullptr && packet->stream_index != stream.index) packet = walk.Next();
  if (packet == nullptr) return {};
  const auto picture = ReadDvFrame(BytesOf(*packet));
  if (!picture) return {};
  if (picture->frame_rate) stream.avg_frame_rate = RationalOf(*picture->frame_rate);
  stream.codecpar->bit_rate =
      av_rescale(packet->size * std::int64_t{8}, stream.avg_frame_rate.num, std::max(stream.avg_frame_rate.den, 1));
  return *picture;
}

}  // namespace media_server::probe
