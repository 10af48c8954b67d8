#pragma once

#include <cstdint>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/av_handles.h"

namespace media_server::probe {

/// Gives libavformat the bytes of a source. Must outlive every format context that reads through it.
class AvIo {
 public:
  /// Borrows `source`. `Context` is null when memory ran out.
  explicit AvIo(BoundedSource& source);

  AVIOContext* Context() const { return context_.get(); }

 private:
  static int Read(void* opaque, std::uint8_t* buffer, int size);
  static std::int64_t Seek(void* opaque, std::int64_t offset, int whence);

  BoundedSource& source_;
  std::int64_t position_ = 0;
  std::int64_t last_end_ = 0;  // where the last read ended
  IoContextHandle context_;
};

}  // namespace media_server::probe
