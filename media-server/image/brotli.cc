#include "media-server/image/brotli.h"

#include <brotli/decode.h>

namespace media_server::image {

std::vector<std::uint8_t> DecompressBrotli(std::span<const std::uint8_t> compressed, std::size_t most) {
  std::vector<std::uint8_t> unpacked(most);
  std::size_t size = most;
  const auto status = BrotliDecoderDecompress(compressed.size(), compressed.data(), &size, unpacked.data());
  unpacked.resize(status == BROTLI_DECODER_RESULT_SUCCESS ? size : 0);
  return unpacked;
}

}  // namespace media_server::image
