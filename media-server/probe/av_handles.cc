#include "media-server/probe/av_handles.h"

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

void FormatContextDeleter::operator()(AVFormatContext* context) const { avformat_close_input(&context); }

void IoContextDeleter::operator()(AVIOContext* context) const {
  // libavformat may have replaced the buffer that the context was made with.
  av_freep(&context->buffer);
  avio_context_free(&context);
}

void CodecContextDeleter::operator()(AVCodecContext* context) const { avcodec_free_context(&context); }

void ParserDeleter::operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }

void PacketDeleter::operator()(AVPacket* packet) const { av_packet_free(&packet); }

}  // namespace media_server::probe
