#include "media-server/image/sigma_raw.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/embedded_jpeg.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"
#include "media-server/image/metered_source.h"
#include "media-server/image/orientation.h"
#include "media-server/image/shot_exif.h"

namespace media_server::image {
namespace {

constexpr std::uint32_t kMostSections = 64;
constexpr int kMostPreviews = 4;
constexpr std::size_t kMostPropertyBytes = 32 * 1024;

struct Section {
  std::uint64_t offset = 0;
  std::uint32_t size = 0;
  std::string_view type;
};

/// A text of UTF-16 units, as far as it is ASCII: names, models and numbers are.
std::string AsciiAt(std::span<const std::uint8_t> units, std::size_t index) {
  std::string text;
  if (index > units.size() / 2) return text;
  ByteReader reader(units.subspan(2 * index));
  for (std::uint16_t unit = reader.Le16(); reader.Ok() && unit != 0; unit = reader.Le16()) {
    text += unit < 0x80 ? static_cast<char>(unit) : '?';
  }
  return text;
}

std::optional<std::int64_t> NumberOf(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// Section "SECp": pairs of name and value, both as places in a pool of UTF-16 units behind the pairs.
Shot ReadProperties(std::span<const std::uint8_t> section) {
  constexpr std::uint32_t kMostPairs = 256;
  constexpr std::size_t kPairSize = 8;
  Shot shot;
  ByteReader reader(section);
  reader.Skip(8);  // mark, version
  const std::uint32_t pairs = reader.Le32();
  reader.Skip(12);  // character set, reserved, length
  if (pairs > kMostPairs || reader.Remaining() < pairs * kPairSize) return shot;
  const auto pool = section.subspan(reader.Position() + pairs * kPairSize);
  for (std::uint32_t i = 0; i < pairs; ++i) {
    const std::string name = AsciiAt(pool, reader.Le32());
    const std::string value = AsciiAt(pool, reader.Le32());
    if (name == "CAMMANUF") shot.maker = value;
    if (name == "CAMMODEL") shot.model = value;
    if (name == "TIME") shot.taken_s = NumberOf(value);
    if (name == "EXPTIME") {
      constexpr double kMicrosecondsPerSecond = 1e6;
      if (const auto exposure = NumberOf(value)) {
        shot.exposure_time_s = static_cast<double>(*exposure) / kMicrosecondsPerSecond;
      }
    }
  }
  return shot;
}

/// The directory stands at the end of the file: "SECd", version, count, then offset, size and type of each section.
void ReadSections(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kDirectoryHeader = 12;
  constexpr std::size_t kRow = 12;
  constexpr std::uint64_t kPreviewHeader = 28;
  const auto file_size = source.Size();
  if (!file_size || *file_size < 4) return;
  const std::uint32_t directory_offset = ByteReader(ReadBytes(source, *file_size - 4, 4)).Le32();
  const auto bytes = ReadBytes(source, directory_offset, kDirectoryHeader + kMostSections * kRow);
  ByteReader directory(bytes);
  if (AsText(directory.Take(4)) != "SECd") return;
  directory.Skip(4);  // version
  const std::uint32_t count = directory.Le32();
  Shot shot;
  int previews = 0;
  for (std::uint32_t i = 0; i < count && directory.Remaining() >= kRow; ++i) {
    Section section;
    section.offset = directory.Le32();
    section.size = directory.Le32();
    section.type = AsText(directory.Take(4));
    if (section.type == "PROP") {
      shot = ReadProperties(ReadBytes(source, section.offset, std::min<std::size_t>(section.size, kMostPropertyBytes)));
    }
    const bool is_preview = section.type == "IMA2" || section.type == "IMAG";
    if (!is_preview || !headers.metadata.exif.empty() || ++previews > kMostPreviews) continue;
    headers.metadata = ReadEmbeddedJpeg(source, section.offset + kPreviewHeader).metadata;
  }
  if (headers.metadata.exif.empty()) headers.metadata.exif_values = ExifOf(shot);
}

}  // namespace

bool ReadSigmaRaw(IByteSource& file, PictureHeaders& headers) {
  MeteredSource source(file, kMostStillBytes);
  constexpr std::uint32_t kVersion4 = 4 << 16;
  const auto header_bytes = ReadBytes(source, 0, 52);
  ByteReader header(header_bytes);
  header.Skip(4);
  // Up to version 3 behind an identifier of 16 bytes and four bytes of marks, from version 4 on 12 bytes further.
  header.Skip(header.Le32() < kVersion4 ? 20 : 32);
  const std::uint32_t width = header.Le32();
  const std::uint32_t height = header.Le32();
  const std::uint32_t clockwise_degrees = header.Le32();
  if (!header.Ok()) return false;
  headers.type = imagecore::kPictureCameraRaw;
  headers.fourcc = FourCC("X3F ");
  headers.alpha = imagecore::kAlphaNone;
  headers.size = PictureSize{width, height};
  if (clockwise_degrees < 360 && clockwise_degrees % 90 == 0) {
    headers.orientation = Orientation{imagecore::kFlipNone, static_cast<std::int32_t>(clockwise_degrees)};
  }
  ReadSections(source, headers);
  return true;
}

}  // namespace media_server::image
