#include "media-server/image/rare_formats.h"

#include <algorithm>
#include <array>
#include <string>

#include "media-server/container/byte_reader.h"
#include "media-server/container/format_magic.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/scan_order.h"
#include "media-server/metadata/timestamp.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

constexpr imagecore::AlphaMode StraightIf(bool has_alpha) {
  return has_alpha ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

/// Width, then height, both big-endian with 32 bits at `offset`: how most of these formats store them.
bool ReadBigEndianSize(IByteSource& source, std::uint64_t offset, PictureHeaders& headers) {
  const auto bytes = ReadBytes(source, offset, 8);
  ByteReader reader(bytes);
  const std::uint32_t width = reader.Be32();
  headers.size = PictureSize{width, reader.Be32()};
  return reader.Ok();
}

constexpr std::size_t kMostDpxElements = 8;
constexpr std::size_t kDpxElementSize = 72;

/// Whether an image element is alpha or has it: its descriptor stands behind the sign and the ranges of its data.
bool HasDpxAlpha(ByteReader& reader, std::uint16_t elements) {
  constexpr std::array<std::uint8_t, 5> kWithAlpha = {4, 51, 52, 101, 103};  // A; RGBA, ABGR; CbYACrYA, CbYCrA
  for (std::size_t i = 0; i < std::min<std::size_t>(elements, kMostDpxElements); ++i) {
    ByteReader element(reader.Take(kDpxElementSize));
    element.Skip(5 * 4);
    if (std::ranges::find(kWithAlpha, element.U8()) != kWithAlpha.end()) return true;
  }
  return false;
}

/// The creation date, "2018:09:04:10:11:12" with the zone behind it: "Z", "+02", or "LTZ", which is the local one, as
/// is every zone without a number. Some programs write it as in ISO 8601.
std::optional<std::int64_t> ReadDpxDate(std::string_view text) {
  constexpr std::size_t kDaySize = 10;
  constexpr std::size_t kClockSize = 19;
  std::string date(text.substr(0, text.find('\0')));
  if (date.size() > kDaySize && date[kDaySize] == ':') date[kDaySize] = ' ';
  const auto in_zone = ParseLocalTimestamp(date);
  return in_zone ? in_zone : ParseLocalTimestamp(date.substr(0, kClockSize));
}

}  // namespace

bool ReadFarbfeld(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("FF  ");
  headers.alpha = imagecore::kAlphaStraight;
  return ReadBigEndianSize(source, 8, headers);
}

bool ReadDpx(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kDate = 136;
  constexpr std::size_t kDateSize = 24;
  constexpr std::size_t kImageHeader = 768;
  constexpr std::size_t kElements = kImageHeader + 12;
  constexpr std::uint16_t kLastOrientation = 7;
  const auto bytes = ReadBytes(source, 0, kElements + kMostDpxElements * kDpxElementSize);
  const bool is_big_endian = Holds(bytes, 0, "SDPX"sv);
  ByteReader reader(bytes);
  reader.Skip(kDate);
  headers.metadata.created = ReadDpxDate(AsText(reader.Take(kDateSize)));
  reader.Skip(kImageHeader - kDate - kDateSize);
  const std::uint16_t orientation = is_big_endian ? reader.Be16() : reader.Le16();
  const std::uint16_t elements = is_big_endian ? reader.Be16() : reader.Le16();
  const std::uint32_t width = is_big_endian ? reader.Be32() : reader.Le32();
  const std::uint32_t height = is_big_endian ? reader.Be32() : reader.Le32();
  if (!reader.Ok()) return false;
  headers.fourcc = FourCC("DPX ");
  headers.size = PictureSize{width, height};
  headers.alpha = StraightIf(HasDpxAlpha(reader, elements));
  if (orientation <= kLastOrientation) {
    // By lines, then by columns; the bits below say from which sides, the same in both.
    headers.orientation = OrientationOf({.columns_first = orientation >= 4,
                                         .from_right = (orientation & 1) != 0,
                                         .from_bottom = (orientation & 2) != 0});
  }
  return true;
}

bool ReadXcf(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("XCF ");
  constexpr std::uint64_t kMagicAndVersion = 14;
  return ReadBigEndianSize(source, kMagicAndVersion, headers);
}

bool ReadIlbm(IByteSource& source, PictureHeaders& headers) {
  constexpr int kMostChunks = 100;
  HeaderWindow window(source);
  std::uint64_t offset = 12;  // "FORM", size, type
  for (int i = 0; i < kMostChunks; ++i) {
    ByteReader reader(window.View(offset, 8 + 10));
    const std::string_view id = AsText(reader.Take(4));
    const std::uint32_t size = reader.Be32();
    if (!reader.Ok()) return false;
    if (id != "BMHD") {
      offset += 8 + std::uint64_t{size} + size % 2;
      continue;
    }
    const std::uint16_t width = reader.Be16();
    const std::uint16_t height = reader.Be16();
    reader.Skip(4 + 1);  // position, planes
    const std::uint8_t masking = reader.U8();
    headers.fourcc = FourCC("ILBM");
    headers.size = PictureSize{width, height};
    headers.alpha = StraightIf(masking != 0);
    return reader.Ok();
  }
  return false;
}

bool ReadSgi(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("SGI ");
  const auto bytes = ReadBytes(source, 4, 8);
  ByteReader reader(bytes);
  const std::uint16_t dimensions = reader.Be16();
  const std::uint16_t width = reader.Be16();
  const std::uint16_t height = reader.Be16();
  const std::uint16_t channels = reader.Be16();
  if (!reader.Ok()) return false;
  // Sizes beyond the number of dimensions are not to be read.
  headers.size = PictureSize{width, dimensions < 2 ? 1U : height};
  headers.alpha = StraightIf(dimensions > 2 && (channels == 2 || channels == 4));
  return true;
}

bool ReadSunRaster(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("RAS ");
  headers.alpha = imagecore::kAlphaNone;
  return ReadBigEndianSize(source, 4, headers);
}

bool ReadPcx(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("PCX ");
  const auto bytes = ReadBytes(source, 4, 8);
  ByteReader reader(bytes);
  const std::uint16_t left = reader.Le16();
  const std::uint16_t top = reader.Le16();
  const std::uint16_t right = reader.Le16();
  const std::uint16_t bottom = reader.Le16();
  if (!reader.Ok() || right < left || bottom < top) return false;
  headers.size = PictureSize{right - left + 1U, bottom - top + 1U};
  headers.alpha = imagecore::kAlphaNone;
  return true;
}

bool ReadJng(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("JNG ");
  constexpr std::uint64_t kColorType = 24;
  constexpr std::uint8_t kFirstTypeWithAlpha = 12;
  const auto color_type = ReadBytes(source, kColorType, 1);
  headers.alpha = StraightIf(!color_type.empty() && color_type.front() >= kFirstTypeWithAlpha);
  return ReadBigEndianSize(source, 16, headers);  // signature, length and type of the chunk
}

bool ReadBpg(IByteSource& source, PictureHeaders& headers) {
  headers.fourcc = FourCC("BPG ");
  const auto bytes = ReadBytes(source, 4, 2 + 5 + 5);
  ByteReader reader(bytes);
  const bool has_alpha = (reader.U8() & 0x10) != 0;
  const bool is_premultiplied = (reader.U8() & 0x04) != 0;
  // ue7(32): seven bits a byte, the first ones first, all but the last byte with the top bit.
  const auto take_number = [&] {
    std::uint32_t value = 0;
    for (int i = 0; i < 5; ++i) {
      const std::uint8_t byte = reader.U8();
      value = value << 7 | (byte & 0x7F);
      if ((byte & 0x80) == 0) break;
    }
    return value;
  };
  const std::uint32_t width = take_number();
  headers.size = PictureSize{width, take_number()};
  headers.alpha = StraightIf(has_alpha);
  if (has_alpha && is_premultiplied) headers.alpha = imagecore::kAlphaPremultiplied;
  return reader.Ok();
}

}  // namespace media_server::image
