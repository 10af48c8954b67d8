#include "media-server/image/targa.h"

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

/// Field 24 of the extension area: what the attribute bits are. Empty in files without such an area.
std::optional<std::uint8_t> ReadAttributesType(IByteSource& source) {
  constexpr std::size_t kFooterSize = 26;
  constexpr std::uint64_t kAttributesTypeOffset = 494;
  const auto size = source.Size();
  if (!size || *size < kFooterSize) return std::nullopt;
  const auto footer = ReadBytes(source, *size - kFooterSize, kFooterSize);
  ByteReader reader(footer);
  const std::uint32_t extension_offset = reader.Le32();
  reader.Skip(4);  // developer directory
  if (AsText(reader.TakeRest()) != "TRUEVISION-XFILE.\0"sv || extension_offset == 0) return std::nullopt;
  const auto type = ReadBytes(source, extension_offset + kAttributesTypeOffset, 1);
  if (type.empty()) return std::nullopt;
  return type.front();
}

imagecore::AlphaMode AlphaOf(IByteSource& source, std::uint8_t attribute_bits) {
  constexpr std::uint8_t kAlpha = 3;
  constexpr std::uint8_t kPremultiplied = 4;
  if (attribute_bits == 0) return imagecore::kAlphaNone;
  const std::uint8_t type = ReadAttributesType(source).value_or(kAlpha);
  if (type == kPremultiplied) return imagecore::kAlphaPremultiplied;
  return type == kAlpha ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

}  // namespace

bool ReadTarga(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kHeaderSize = 18;
  const auto bytes = ReadBytes(source, 0, kHeaderSize);
  ByteReader reader(bytes);
  reader.Skip(12);  // lengths, types, colour map, origin
  const std::uint16_t width = reader.Le16();
  const std::uint16_t height = reader.Le16();
  reader.Skip(1);  // depth
  const std::uint8_t descriptor = reader.U8();
  if (!reader.Ok()) return false;
  headers.fourcc = FourCC("TGA ");
  headers.size = PictureSize{width, height};
  headers.alpha = AlphaOf(source, descriptor & 0x0F);
  return true;
}

}  // namespace media_server::image
