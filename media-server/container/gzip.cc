#include "media-server/container/gzip.h"

#include <zlib.h>

#include <memory>
#include <new>

#include "media-server/container/format_magic.h"

namespace media_server {

bool IsGzip(std::span<const std::uint8_t> head) {
  using namespace std::string_view_literals;
  return Holds(head, 0, "\x1f\x8b\x08"sv);
}

std::vector<std::uint8_t> InflateGzip(std::span<const std::uint8_t> compressed, std::size_t most) {
  constexpr int kGzipWrapping = 16;
  std::vector<std::uint8_t> inflated(most);
  z_stream stream{};
  if (inflateInit2(&stream, MAX_WBITS + kGzipWrapping) != Z_OK) throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> owner(&stream, &inflateEnd);
  stream.next_in = const_cast<Bytef*>(compressed.data());  // zlib does not write there
  stream.avail_in = static_cast<uInt>(compressed.size());
  stream.next_out = inflated.data();
  stream.avail_out = static_cast<uInt>(most);
  // What came out counts, whatever became of the rest.
  if (inflate(&stream, Z_SYNC_FLUSH) == Z_MEM_ERROR) throw std::bad_alloc();
  inflated.resize(most - stream.avail_out);
  return inflated;
}

}  // namespace media_server
