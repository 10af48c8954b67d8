#include "media-server/container/gzip.h"

#include <zlib.h>

#include "media-server/container/format_magic.h"

namespace media_server {

bool IsGzip(std::span<const std::uint8_t> head) {
  using namespace std::string_view_literals;
  return Holds(head, 0, "\x1f\x8b\x08"sv);
}

std::vector<std::uint8_t> InflateGzip(std::span<const std::uint8_t> compressed, std::size_t most) {
  constexpr int kGzipWrapping = 16;
  z_stream stream{};
  if (inflateInit2(&stream, MAX_WBITS + kGzipWrapping) != Z_OK) return {};
  std::vector<std::uint8_t> inflated(most);
  stream.next_in = const_cast<Bytef*>(compressed.data());  // zlib does not write there
  stream.avail_in = static_cast<uInt>(compressed.size());
  stream.next_out = inflated.data();
  stream.avail_out = static_cast<uInt>(most);
  inflate(&stream, Z_SYNC_FLUSH);  // what came out counts, whatever became of the rest
  inflated.resize(most - stream.avail_out);
  inflateEnd(&stream);
  return inflated;
}

}  // namespace media_server
