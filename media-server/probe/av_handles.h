#pragma once

#include <memory>

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
struct PacketDeleter {
  void operator()(AVPacket* packet) const;
};

using FormatContextHandle = std::unique_ptr<AVFormatContext, FormatContextDeleter>;
using IoContextHandle = std::unique_ptr<AVIOContext, IoContextDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, PacketDeleter>;

}  // namespace media_server::probe
