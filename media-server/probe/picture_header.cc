#include "media-server/probe/picture_header.h"

#include "media-server/codec/h264.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
codec::PictureParameters ReadPictureHeader(AVStream& stream, const SampleReader&) {
  const AVCodecParameters& par = *stream.codecpar;
  const std::span<const std::uint8_t> extradata(par.extradata, static_cast<std::size_t>(par.extradata_size));
  if (par.codec_id == AV_CODEC_ID_H264) {
    if (auto c = codec::ReadH264Configuration(extradata)) return c->picture;
  }
  return {};
}
}  // namespace media_server::probe
