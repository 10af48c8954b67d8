#pragma once

#include <memory>

struct AVCodecContext;
struct AVCodecParserContext;
struct AVFormatContext;
struct AVIOContext;
struct AVPacket;

namespace media_server::probe {

/// Owners of libav* objects; the deleters are defined in av_handles.cc so that this header needs none of theirs.
struct FormatContextDeleter {
  void operator()(AVFormatContext* context) const;
};
struct IoContextDeleter {
  void operator()(AVIOContext* context) const;
};
struct CodecContextDeleter {
  void operator()(AVCodecContext* context) const;
};
struct ParserDeleter {
  void operator()(AVCodecParserContext* parser) const;
};
struct PacketDeleter {
  void operator()(AVPacket* packet) const;
};

using FormatContextHandle = std::unique_ptr<AVFormatContext, FormatContextDeleter>;
using IoContextHandle = std::unique_ptr<AVIOContext, IoContextDeleter>;
using CodecContextHandle = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using ParserHandle = std::unique_ptr<AVCodecParserContext, ParserDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, PacketDeleter>;

}  // namespace media_server::probe
