#include "media-server/image/open_exr.h"

#include <limits>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"

namespace media_server::image {
namespace {

/// Text up to its terminator; empty, and `reader` failed, when there is none.
std::string_view TakeText(ByteReader& reader, std::span<const std::uint8_t> bytes) {
  const std::string_view rest = AsText(bytes.subspan(reader.Position()));
  const auto end = rest.find('\0');
  if (end == rest.npos) {
    reader.Skip(reader.Remaining() + 1);
    return {};
  }
  reader.Skip(end + 1);
  return rest.substr(0, end);
}

/// box2i: xMin, yMin, xMax, yMax, both ends inclusive.
std::optional<PictureSize> SizeOfWindow(std::span<const std::uint8_t> value) {
  ByteReader reader(value);
  const std::int64_t left = static_cast<std::int32_t>(reader.Le32());
  const std::int64_t top = static_cast<std::int32_t>(reader.Le32());
  const std::int64_t width = static_cast<std::int32_t>(reader.Le32()) - left + 1;
  const std::int64_t height = static_cast<std::int32_t>(reader.Le32()) - top + 1;
  constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (!reader.Ok() || width < 1 || height < 1 || width > kMost || height > kMost) return std::nullopt;
  return PictureSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

/// chlist: for each channel a name and 16 bytes; an empty name ends it. Colours are stored multiplied with alpha
/// ("Scene-Linear Image Representation", "Premultiplied vs. Un-Premultiplied Color Channels").
std::optional<imagecore::AlphaMode> AlphaOfChannels(std::span<const std::uint8_t> value) {
  ByteReader reader(value);
  while (reader.Ok()) {
    const std::string_view name = TakeText(reader, value);
    if (name == "A") return imagecore::kAlphaPremultiplied;
    if (reader.Ok() && name.empty()) return imagecore::kAlphaNone;
    reader.Skip(16);
  }
  return std::nullopt;
}

}  // namespace

bool ReadOpenExr(IByteSource& source, PictureHeaders& headers) {
  constexpr int kMostAttributes = 128;
  constexpr std::size_t kMostNames = 2 * 256 + 4;  // name and type of up to 255 characters, size of the value
  HeaderWindow window(source);
  headers.type = imagecore::kPictureOpenExr;
  headers.fourcc = FourCC("EXR ");
  std::uint64_t offset = 8;  // magic number, version and flags
  for (int i = 0; i < kMostAttributes && !(headers.size && headers.alpha); ++i) {
    const auto bytes = window.View(offset, kMostNames);
    ByteReader reader(bytes);
    const std::string_view name = TakeText(reader, bytes);
    if (name.empty()) break;
    TakeText(reader, bytes);  // type
    const std::uint32_t size = reader.Le32();
    if (!reader.Ok()) break;
    offset += reader.Position();
    if (name == "dataWindow") headers.size = SizeOfWindow(window.Copy(offset, size));
    if (name == "channels") headers.alpha = AlphaOfChannels(window.Copy(offset, size));
    offset += size;
  }
  return headers.size.has_value();
}

}  // namespace media_server::image
