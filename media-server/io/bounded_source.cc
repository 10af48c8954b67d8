#include "media-server/io/bounded_source.h"

namespace media_server {

std::size_t BoundedSource::ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) {
  if (out.size() > bytes_left_ || TimeIsOver()) spent_ = true;
  if (spent_) return 0;
  const std::size_t got = source_.ReadAt(offset, out);
  bytes_left_ -= got;
  return got;
}

}  // namespace media_server
