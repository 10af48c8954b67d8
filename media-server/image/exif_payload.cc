#include "media-server/image/exif_payload.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "media-server/container/byte_reader.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

bool IsTiff(std::string_view bytes) { return bytes.starts_with("II*\0"sv) || bytes.starts_with("MM\0*"sv); }

}  // namespace

std::vector<std::uint8_t> TiffOfExifBlock(std::vector<std::uint8_t> block, ExifPrefix prefix) {
  constexpr std::size_t kOffsetSize = 4;
  constexpr std::size_t kMarkSize = 6;  // "Exif\0\0"
  const std::string_view text = AsText(block);
  std::size_t declared = 0;
  if (prefix == ExifPrefix::kOffset) declared = kOffsetSize + ByteReader(block).Be32();
  for (const std::size_t start :
       std::array{declared, std::size_t{0}, kMarkSize, kOffsetSize, kOffsetSize + kMarkSize}) {
    if (start >= text.size() || !IsTiff(text.substr(start))) continue;
    block.erase(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(start));
    return block;
  }
  return {};
}

}  // namespace media_server::image
