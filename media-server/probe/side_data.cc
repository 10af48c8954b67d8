#include "media-server/probe/side_data.h"

#include <cmath>
#include <cstddef>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

// Since libavcodec 60.30 (FFmpeg 6.1) side data lies with the codec parameters; before that with the stream.
std::span<const std::uint8_t> Find(const AVStream& stream, AVPacketSideDataType type) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 30, 100)
  const AVPacketSideData* data =
      av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, type);
  if (data == nullptr) return {};
  return {data->data, data->size};
#else
  std::size_t size = 0;
  const std::uint8_t* data = av_stream_get_side_data(&stream, type, &size);
  return {data, data == nullptr ? 0 : size};
#endif
}

template <typename T>
const T* FindAs(const AVStream& stream, AVPacketSideDataType type) {
  const auto data = Find(stream, type);
  return data.size() >= sizeof(T) ? reinterpret_cast<const T*>(data.data()) : nullptr;
}

void ReadStereo(const AVStream& stream, PictureSideData& facts) {
  const auto* stereo = FindAs<AVStereo3D>(stream, AV_PKT_DATA_STEREO3D);
  if (stereo == nullptr) return;
  facts.stereo_mode = stereo->type;
  if (stereo->type != AV_STEREO3D_2D) facts.views = 2;
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(59, 24, 100)  // FFmpeg 7.1 added what spatial video tells
  const AVRational angle = stereo->horizontal_field_of_view;
  if (angle.num > 0 && angle.den > 0) facts.field_of_view = static_cast<std::int32_t>(std::lround(av_q2d(angle)));
#endif
}

void ReadCropping(const AVStream& stream, PictureSideData& facts) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(61, 10, 100)  // FFmpeg 7.1
  const auto data = Find(stream, AV_PKT_DATA_FRAME_CROPPING);
  if (data.size() < 16) return;
  const auto number = [&](std::size_t at) {
    return std::uint32_t{data[at]} | std::uint32_t{data[at + 1]} << 8 | std::uint32_t{data[at + 2]} << 16 |
           std::uint32_t{data[at + 3]} << 24;
  };
  facts.cropping = {.top = number(0), .bottom = number(4), .left = number(8), .right = number(12)};
#else
  static_cast<void>(stream);
  static_cast<void>(facts);
#endif
}

}  // namespace

PictureSideData ReadPictureSideData(const AVStream& stream) {
  PictureSideData facts;
  facts.dolby_vision = !Find(stream, AV_PKT_DATA_DOVI_CONF).empty();
  facts.mastering_display = !Find(stream, AV_PKT_DATA_MASTERING_DISPLAY_METADATA).empty();
  ReadStereo(stream, facts);
  ReadCropping(stream, facts);
  return facts;
}

std::span<const std::uint8_t> DisplayMatrixOf(const AVStream& stream) {
  return Find(stream, AV_PKT_DATA_DISPLAYMATRIX);
}

}  // namespace media_server::probe
