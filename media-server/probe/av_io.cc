#include "media-server/probe/av_io.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

// Headers are read in pieces of this size; between 8 and 32 KiB the cost of a probe hardly changes.
constexpr int kBufferSize = 16 * 1024;

// A reader that jumps wants a header and may jump on: it goes from fragment to fragment that way, or looks for a mark.
constexpr int kFirstRead = 4 * 1024;

}  // namespace

AvIo::AvIo(BoundedSource& source) : source_(source) {
  auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferSize));
  if (buffer == nullptr) return;
  context_.reset(avio_alloc_context(buffer, kBufferSize, /*write_flag=*/0, this, &AvIo::Read, nullptr, &AvIo::Seek));
  if (!context_) av_free(buffer);
}

int AvIo::Read(void* opaque, std::uint8_t* buffer, int size) {
  auto* io = static_cast<AvIo*>(opaque);
  const bool jumped = io->position_ != io->last_end_;
  const int wanted = jumped ? std::min(size, kFirstRead) : size;
  std::size_t got = 0;
  try {
    got = io->source_.ReadSome(static_cast<std::uint64_t>(io->position_), {buffer, static_cast<std::size_t>(wanted)});
  } catch (const std::bad_alloc&) {
    // Further up it would pass through libavformat, which frees nothing then.
    return AVERROR(ENOMEM);
  }
  if (got == 0) return io->source_.Spent() ? AVERROR_EXIT : io->source_.ReadFailure() ? AVERROR(EIO) : AVERROR_EOF;
  io->position_ += static_cast<std::int64_t>(got);
  io->last_end_ = io->position_;
  return static_cast<int>(got);
}

std::int64_t AvIo::Seek(void* opaque, std::int64_t offset, int whence) {
  auto* io = static_cast<AvIo*>(opaque);
  const auto size = io->source_.Size();
  std::int64_t base = 0;
  switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
      return size ? static_cast<std::int64_t>(*size) : AVERROR(ENOSYS);
    case SEEK_SET:
      break;
    case SEEK_CUR:
      base = io->position_;
      break;
    case SEEK_END:
      if (!size) return AVERROR(ENOSYS);
      base = static_cast<std::int64_t>(*size);
      break;
    default:
      return AVERROR(EINVAL);
  }
  std::int64_t target = 0;
  if (offset > INT64_MAX - base || (target = base + offset) < 0) return AVERROR(EINVAL);
  return io->position_ = target;
}

}  // namespace media_server::probe
