#include "media-server/image/psd.h"

#include <algorithm>
#include <array>

#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"

namespace media_server::image {
namespace {

constexpr std::size_t kHeaderSize = 26;

/// Colour modes and how many channels each takes; what a document has beyond them is alpha.
struct ColorMode {
  std::uint16_t mode;
  std::uint16_t channels;
};
constexpr std::array kColorModes = {
    ColorMode{0, 1},  // bitmap
    ColorMode{1, 1},  // grey
    ColorMode{2, 1},  // indexed
    ColorMode{3, 3},  // RGB
    ColorMode{4, 4},  // CMYK
    ColorMode{8, 1},  // duotone
    ColorMode{9, 3},  // Lab
};

std::optional<imagecore::AlphaMode> AlphaOf(std::uint16_t mode, std::uint16_t channels) {
  const auto row = std::ranges::find(kColorModes, mode, &ColorMode::mode);
  if (row == kColorModes.end()) return std::nullopt;  // multichannel: no channel has a fixed meaning
  return channels > row->channels ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
}

struct Resource {
  std::uint16_t id = 0;
  std::uint64_t data_offset = 0;
  std::uint32_t data_size = 0;

  /// Data are padded to an even length.
  std::uint64_t End() const { return data_offset + data_size + data_size % 2; }
};

/// A resource block: signature, identifier, name as a Pascal string padded to an even length, size of the data.
std::optional<Resource> ReadResource(HeaderWindow& window, std::uint64_t offset) {
  constexpr std::size_t kMostHeader = 6 + 256 + 4;
  ByteReader reader(window.View(offset, kMostHeader));
  reader.Skip(4);  // "8BIM"; some programs write signatures of their own
  Resource resource;
  resource.id = reader.Be16();
  const std::size_t name_size = reader.U8();
  reader.Skip(name_size + (name_size % 2 == 0 ? 1 : 0));  // even with its length byte
  resource.data_size = reader.Be32();
  resource.data_offset = offset + reader.Position();
  if (!reader.Ok()) return std::nullopt;
  return resource;
}

void TakeMetadata(HeaderWindow& window, const Resource& resource, EmbeddedMetadata& metadata) {
  constexpr std::uint16_t kIptc = 1028;
  constexpr std::uint16_t kExif = 1058;
  constexpr std::uint16_t kXmp = 1060;
  const auto copy = [&] { return window.Copy(resource.data_offset, resource.data_size); };
  if (resource.id == kIptc) metadata.iptc = copy();
  if (resource.id == kExif) metadata.exif = TiffOfExifBlock(copy(), ExifPrefix::kNone);
  if (resource.id == kXmp) metadata.xmp = AsText(copy());
}

/// Reads the section of the image resources, which starts with its length.
void ReadResources(HeaderWindow& window, std::uint64_t section, EmbeddedMetadata& metadata) {
  constexpr int kMostResources = 1000;
  std::uint64_t offset = section + 4;
  const std::uint64_t end = offset + ByteReader(window.View(section, 4)).Be32();
  for (int i = 0; i < kMostResources && offset < end; ++i) {
    const auto resource = ReadResource(window, offset);
    if (!resource || resource->data_offset + resource->data_size > end) return;
    TakeMetadata(window, *resource, metadata);
    offset = resource->End();
  }
}

}  // namespace

bool ReadPsd(IByteSource& source, PictureHeaders& headers) {
  HeaderWindow window(source);
  ByteReader reader(window.View(0, kHeaderSize));
  reader.Skip(4 + 2 + 6);  // signature, version, reserved
  const std::uint16_t channels = reader.Be16();
  const std::uint32_t height = reader.Be32();
  const std::uint32_t width = reader.Be32();
  reader.Skip(2);  // bits per channel
  const std::uint16_t mode = reader.Be16();
  if (!reader.Ok()) return false;
  headers.type = imagecore::kPicturePsd;
  headers.fourcc = FourCC("8BPS");
  headers.size = PictureSize{width, height};
  headers.alpha = AlphaOf(mode, channels);
  const std::uint64_t palette_size = ByteReader(window.View(kHeaderSize, 4)).Be32();
  ReadResources(window, kHeaderSize + 4 + palette_size, headers.metadata);
  return true;
}

}  // namespace media_server::image
