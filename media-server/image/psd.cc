#include "media-server/image/psd.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/header_window.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kHeaderSize = 26;

/// Colour modes and how many channels each takes; what a document has beyond them is transparency or saved selections.
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

/// Of a section that starts with its length.
std::uint64_t EndOfSection(HeaderWindow& window, std::uint64_t section) {
  return section + 4 + ByteReader(window.View(section, 4)).Be32();
}

/// The section of layers and masks (Adobe Photoshop File Formats Specification, Layer and Mask Information Section).
class LayerSection {
 public:
  /// Large documents (PSB) have lengths of eight bytes.
  LayerSection(HeaderWindow& window, std::uint64_t offset, bool is_large)
      : window_(window), offset_(offset), is_large_(is_large) {}

  /// Whether the first channel beyond those of the colour mode is the transparency of the merged picture: a negative
  /// count of layers says so. Empty when the section is cut.
  std::optional<bool> HasTransparency() {
    ByteReader reader(window_.View(offset_, 2 * kLongestLength + kCountSize));
    const std::uint64_t size = TakeLength(reader, is_large_);
    if (!reader.Ok() || size > kMostSize) return std::nullopt;
    if (size == 0) return false;
    const std::uint64_t end = offset_ + reader.Position() + size;
    const bool has_layers = TakeLength(reader, is_large_) != 0;
    if (has_layers || !reader.Ok()) return TakeCount(reader);
    return HasTransparencyInBlocks(offset_ + reader.Position(), end);
  }

 private:
  static constexpr std::size_t kLongestLength = 8;
  static constexpr std::size_t kCountSize = 2;
  static constexpr std::uint64_t kMostSize = std::uint64_t{1} << 56;  // no sum overflows

  static std::uint64_t TakeLength(ByteReader& reader, bool is_long) { return is_long ? reader.Be64() : reader.Be32(); }

  static std::optional<bool> TakeCount(ByteReader& reader) {
    const auto count = static_cast<std::int16_t>(reader.Be16());
    return reader.Ok() ? std::optional(count < 0) : std::nullopt;
  }

  /// Keys whose blocks have a long length in large documents (Additional Layer Information).
  bool HasLongLength(std::string_view key) const {
    constexpr std::array kKeys = {"LMsk"sv, "Lr16"sv, "Lr32"sv, "Layr"sv, "Mt16"sv, "Mt32"sv, "Mtrn"sv,
                                  "Alph"sv, "FMsk"sv, "lnk2"sv, "FEid"sv, "FXid"sv, "PxSD"sv};
    return is_large_ && std::ranges::find(kKeys, key) != kKeys.end();
  }

  /// Documents of 16 and 32 bits keep their layers in a block behind the global mask.
  std::optional<bool> HasTransparencyInBlocks(std::uint64_t offset, std::uint64_t end) {
    constexpr int kMostBlocks = 64;
    offset = EndOfSection(window_, offset);
    for (int i = 0; i < kMostBlocks && offset < end; ++i) {
      ByteReader reader(window_.View(offset, 4 + 4 + kLongestLength + kCountSize));
      reader.Skip(4);  // "8BIM" or "8B64"
      const std::string_view key = AsText(reader.Take(4));
      const std::uint64_t size = TakeLength(reader, HasLongLength(key));
      if (!reader.Ok() || size > kMostSize) return std::nullopt;
      if (key == "Lr16" || key == "Lr32") return TakeCount(reader);
      offset += reader.Position() + (size + 3) / 4 * 4;
    }
    return false;
  }

  HeaderWindow& window_;
  std::uint64_t offset_;
  bool is_large_;
};

std::optional<imagecore::AlphaMode> AlphaOf(std::uint16_t mode, std::uint16_t channels, LayerSection layers) {
  const auto row = std::ranges::find(kColorModes, mode, &ColorMode::mode);
  if (row == kColorModes.end()) return std::nullopt;  // multichannel: no channel has a fixed meaning
  if (channels <= row->channels) return imagecore::kAlphaNone;
  const auto has_transparency = layers.HasTransparency();
  if (!has_transparency) return std::nullopt;
  return *has_transparency ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
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

/// Reads the section of the image resources.
void ReadResources(HeaderWindow& window, std::uint64_t section, EmbeddedMetadata& metadata) {
  constexpr int kMostResources = 1000;
  std::uint64_t offset = section + 4;
  const std::uint64_t end = EndOfSection(window, section);
  for (int i = 0; i < kMostResources && offset < end; ++i) {
    const auto resource = ReadResource(window, offset);
    if (!resource || resource->data_offset + resource->data_size > end) return;
    TakeMetadata(window, *resource, metadata);
    offset = resource->End();
  }
}

}  // namespace

bool ReadPsd(IByteSource& source, PictureHeaders& headers) {
  constexpr std::uint16_t kLarge = 2;
  HeaderWindow window(source);
  ByteReader reader(window.View(0, kHeaderSize));
  reader.Skip(4);  // signature
  const std::uint16_t version = reader.Be16();
  reader.Skip(6);  // reserved
  const std::uint16_t channels = reader.Be16();
  const std::uint32_t height = reader.Be32();
  const std::uint32_t width = reader.Be32();
  reader.Skip(2);  // bits per channel
  const std::uint16_t mode = reader.Be16();
  if (!reader.Ok()) return false;
  headers.type = imagecore::kPicturePsd;
  headers.fourcc = FourCC("8BPS");
  headers.size = PictureSize{width, height};
  const std::uint64_t resources = EndOfSection(window, kHeaderSize);  // behind the palette
  headers.alpha = AlphaOf(mode, channels, LayerSection(window, EndOfSection(window, resources), version == kLarge));
  ReadResources(window, resources, headers.metadata);
  return true;
}

}  // namespace media_server::image
