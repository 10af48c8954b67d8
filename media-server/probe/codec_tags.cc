#include "media-server/probe/codec_tags.h"

#include <string_view>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

// What libavformat gives as tag for these is no codec tag but the stream type number of a transport or program stream.
bool TagIsStreamType(const AVFormatContext& context) {
  const std::string_view demuxer = context.iformat->name;
  return demuxer == "mpegts" || demuxer == "mpeg";
}

}  // namespace

std::uint32_t CodecTag(const AVFormatContext& context, const AVCodecParameters& codec) {
  if (codec.codec_tag != 0 && !TagIsStreamType(context)) return codec.codec_tag;
  const AVCodecTag* const tables[] = {avformat_get_mov_video_tags(), avformat_get_mov_audio_tags(),
                                      avformat_get_riff_video_tags(), avformat_get_riff_audio_tags(), nullptr};
  return av_codec_get_tag(tables, codec.codec_id);
}

}  // namespace media_server::probe
