#include "media-server/image/bmp.h"

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {
namespace {

/// Whether the header, read up to its bits per pixel, goes on to a mask that takes bits for alpha. BITMAPV3INFOHEADER
/// and its successors hold one; behind a BITMAPINFOHEADER a fourth mask follows where the compression says so.
bool HasAlphaMask(ByteReader& rest, std::uint32_t header_size, std::uint16_t bits_per_pixel) {
  constexpr std::uint32_t kInfoHeaderSize = 40;
  constexpr std::uint32_t kV3HeaderSize = 56;
  constexpr std::uint32_t kAlphaBitFields = 6;
  const std::uint32_t compression = rest.Le32();
  rest.Skip(5 * 4);  // picture bytes, resolution, colours
  rest.Skip(3 * 4);  // red, green and blue
  const std::uint32_t alpha = rest.Le32();
  const bool has_masks =
      header_size >= kV3HeaderSize || (header_size == kInfoHeaderSize && compression == kAlphaBitFields);
  return has_masks && alpha != 0 && (bits_per_pixel == 16 || bits_per_pixel == 32);
}

}  // namespace

std::optional<DibHeader> ReadDibHeader(std::span<const std::uint8_t> bytes) {
  constexpr std::uint32_t kCoreHeaderSize = 12;  // OS/2 1.x: 16-bit sizes
  constexpr std::uint32_t kOs2LongHeaderSize = 64;
  constexpr std::uint32_t kV5HeaderSize = 124;
  ByteReader reader(bytes);
  DibHeader header;
  const std::uint32_t header_size = reader.Le32();
  if (header_size == kCoreHeaderSize) {
    header.size.width = reader.Le16();
    header.size.height = reader.Le16();
  } else {
    header.size.width = reader.Le32();
    header.size.height = reader.Le32();
    if ((header.size.height >> 31) != 0) header.size.height = 0U - header.size.height;  // rows from the top down
  }
  reader.Skip(2);  // planes
  header.bits_per_pixel = reader.Le16();
  if (!reader.Ok() || header_size < kCoreHeaderSize || header_size > kV5HeaderSize) return std::nullopt;
  // OS/2 2.x has halftoning where its Windows contemporaries have masks.
  if (header_size != kOs2LongHeaderSize) {
    header.has_alpha_mask = HasAlphaMask(reader, header_size, header.bits_per_pixel);
  }
  return header;
}

bool ReadBmp(IByteSource& source, PictureHeaders& headers) {
  constexpr std::uint64_t kFileHeaderSize = 14;
  headers.type = imagecore::kPictureBmp;
  headers.fourcc = FourCC("BMP ");
  const auto header = ReadDibHeader(ReadBytes(source, kFileHeaderSize, kDibStartSize));
  if (!header) return false;
  headers.size = header->size;
  headers.alpha = header->has_alpha_mask ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
  headers.chroma_sampling = codec::kChromaRgb;
  if (header->bits_per_pixel != 16) headers.bit_depth = 8;  // 16 bits are 5:5:5 or 5:6:5
  return true;
}

}  // namespace media_server::image
