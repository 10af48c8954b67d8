#include "media-server/image/jpeg_2000.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "media-server/codec/picture_parameters.h"
#include "media-server/container/byte_reader.h"
#include "media-server/container/mp4_boxes.h"
#include "media-server/image/box_uuids.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMostPayloadBytes = 112 * 1024;
constexpr Mp4BoxLimits kLimits = {.boxes = 1024, .bytes = 240 * 1024};

/// What a codestream begins with, its marker segment SIZ, tells of the image.
struct Codestream {
  PictureSize size;
  std::optional<int> bit_depth;
  std::optional<int> chroma_sampling;
};

struct Component {
  int bits = 0;
  int width_factor = 0;  // each how many columns and lines of the reference grid it has a sample
  int height_factor = 0;
};

/// Grey, or colours of which the second and third have fewer samples than the first. Colours that have as many of each
/// may be anything.
std::optional<int> ChromaOf(std::span<const Component> components) {
  if (components.size() < 3) return codec::kChroma400;
  const Component& first = components[0];
  const Component& second = components[1];
  if (first.width_factor != 1 || first.height_factor != 1) return std::nullopt;
  if (second.width_factor != components[2].width_factor) return std::nullopt;
  if (second.height_factor != components[2].height_factor) return std::nullopt;
  if (second.width_factor == 2 && second.height_factor == 2) return codec::kChroma420;
  if (second.width_factor == 2 && second.height_factor == 1) return codec::kChroma422;
  if (second.width_factor == 4 && second.height_factor == 1) return codec::kChroma411;
  return std::nullopt;
}

void ReadComponents(ByteReader& reader, Codestream& codestream) {
  constexpr std::uint8_t kDepth = 0x7F;  // above it is whether samples have a sign
  constexpr int kMostBits = 16;
  std::array<Component, 3> components;
  const std::uint16_t count = reader.Be16();
  const std::size_t read = std::min<std::size_t>(count, components.size());
  for (std::size_t i = 0; i < read; ++i) {
    const int bits = (reader.U8() & kDepth) + 1;
    const int width_factor = reader.U8();
    components[i] = {bits, width_factor, reader.U8()};
  }
  if (!reader.Ok() || count == 0) return;
  if (components[0].bits <= kMostBits) codestream.bit_depth = components[0].bits;
  codestream.chroma_sampling = ChromaOf({components.data(), read});
}

/// ISO/IEC 15444-1, A.5.1: the image lies at an offset of the reference grid.
std::optional<Codestream> ReadCodestreamStart(std::span<const std::uint8_t> bytes) {
  constexpr std::uint32_t kStartAndSize = 0xFF4FFF51;
  ByteReader reader(bytes);
  if (reader.Be32() != kStartAndSize) return std::nullopt;
  reader.Skip(4);  // length, capabilities
  const std::uint32_t right = reader.Be32();
  const std::uint32_t bottom = reader.Be32();
  const std::uint32_t left = reader.Be32();
  const std::uint32_t top = reader.Be32();
  if (!reader.Ok() || left > right || top > bottom) return std::nullopt;
  Codestream codestream{.size = {right - left, bottom - top}};
  reader.Skip(16);  // tiles
  ReadComponents(reader, codestream);
  return codestream;
}

/// A size that stands in a box already is kept.
void Describe(const Codestream& codestream, PictureHeaders& headers) {
  if (!headers.size) headers.size = codestream.size;
  headers.bit_depth = codestream.bit_depth;
  headers.chroma_sampling = codestream.chroma_sampling;
}

class Jpeg2000Boxes {
 public:
  Jpeg2000Boxes(IByteSource& source, PictureHeaders& headers) : headers_(headers), boxes_(source, kLimits) {}

  bool Read() {
    Mp4BoxRange range = boxes_.WholeInput();
    while (const auto box = boxes_.Next(range)) {
      // JPX may put the header of its one codestream into a box of its own (ISO/IEC 15444-2 M.11.6).
      if (box->Is("jp2h") || box->Is("jpch")) ReadHeader(*box);
      if (box->Is("jp2c") && !std::exchange(codestream_seen_, true)) ReadCodestream(*box);
      if (box->Is("uuid")) ReadUuid(*box);
    }
    return headers_.size.has_value();
  }

 private:
  /// Encoders leave the channel definition out and mean the component behind the colours to be alpha.
  void ReadHeader(const Mp4Box& header) {
    Mp4BoxRange range = boxes_.Children(header);
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("ihdr") && !headers_.size) ReadImageHeader(*box);
      if (box->Is("colr") && !colours_) ReadColourSpace(*box);
      if (box->Is("cdef")) ReadChannels(*box);
      if (box->Is("pclr")) has_palette_ = true;
    }
    if (headers_.alpha || !components_) return;
    const bool has_one_more = colours_ && *components_ == *colours_ + 1;
    headers_.alpha = has_one_more ? imagecore::kAlphaStraight : imagecore::kAlphaNone;
  }

  /// Image Header box, ISO/IEC 15444-1 I.5.3.1.
  void ReadImageHeader(const Mp4Box& box) {
    const auto bytes = boxes_.Payload(box, 10);
    ByteReader reader(bytes);
    const std::uint32_t height = reader.Be32();
    const std::uint32_t width = reader.Be32();
    const std::uint16_t components = reader.Be16();
    if (!reader.Ok()) return;
    headers_.size = PictureSize{width, height};
    components_ = components;
  }

  /// Colour Specification box, I.5.3.3. Colour profiles are not looked into.
  void ReadColourSpace(const Mp4Box& box) {
    constexpr std::uint8_t kEnumerated = 1;
    constexpr std::uint32_t kSRgb = 16;
    constexpr std::uint32_t kGrey = 17;
    constexpr std::uint32_t kSYcc = 18;
    const auto bytes = boxes_.Payload(box, 7);
    ByteReader reader(bytes);
    const std::uint8_t method = reader.U8();
    reader.Skip(2);  // precedence, approximation
    const std::uint32_t space = reader.Be32();
    if (method != kEnumerated) return;
    if (space == kGrey) colours_ = 1;
    if (space == kSRgb || space == kSYcc) colours_ = 3;
    is_rgb_ = space == kSRgb;
  }

  /// Channel Definition box, I.5.3.6.
  void ReadChannels(const Mp4Box& box) {
    constexpr std::size_t kMostChannels = 64;
    constexpr std::uint16_t kOpacity = 1;
    constexpr std::uint16_t kPremultipliedOpacity = 2;
    const auto bytes = boxes_.Payload(box, 2 + kMostChannels * 6);
    ByteReader reader(bytes);
    const std::uint16_t count = reader.Be16();
    for (std::uint16_t i = 0; i < count; ++i) {
      reader.Skip(2);  // channel
      const std::uint16_t type = reader.Be16();
      reader.Skip(2);  // association
      if (!reader.Ok()) return;
      if (type == kOpacity) headers_.alpha = imagecore::kAlphaStraight;
      if (type == kPremultipliedOpacity) headers_.alpha = imagecore::kAlphaPremultiplied;
    }
  }

  void ReadCodestream(const Mp4Box& box) {
    constexpr std::size_t kHeadBytes = 64;
    auto start = ReadCodestreamStart(boxes_.Payload(box, kHeadBytes));
    if (!start) return;
    if (!start->chroma_sampling && is_rgb_) start->chroma_sampling = codec::kChromaRgb;
    if (has_palette_) *start = {.size = start->size};  // its components are numbers of colours
    Describe(*start, headers_);
  }

  void ReadUuid(const Mp4Box& box) {
    auto& metadata = headers_.metadata;
    if (box.uuid == kXmpBox) metadata.AddXmp(AsText(boxes_.WholePayload(box, kMostPayloadBytes)));
    const bool is_iptc = box.uuid == kIptcBox || box.uuid == kEditorIptcBox;
    if (is_iptc && metadata.iptc.empty()) metadata.iptc = boxes_.WholePayload(box, kMostPayloadBytes);
    const bool is_exif = box.uuid == kJpeg2000ExifBox || box.uuid == kEditorExifBox;
    if (is_exif && metadata.exif.empty())
      metadata.exif = TiffOfExifBlock(boxes_.WholePayload(box, kMostPayloadBytes), ExifPrefix::kNone);
  }

  PictureHeaders& headers_;
  Mp4BoxReader boxes_;
  std::optional<unsigned> components_;
  std::optional<unsigned> colours_;  // that the colour space has
  bool is_rgb_ = false;
  bool has_palette_ = false;
  bool codestream_seen_ = false;
};

}  // namespace

bool ReadJpeg2000(IByteSource& source, PictureHeaders& headers) {
  constexpr std::size_t kHeadBytes = 64;
  const auto head = ReadBytes(source, 0, kHeadBytes);
  if (AsText(head).starts_with("\xFF\x4F"sv)) {
    headers.fourcc = FourCC("j2k ");
    const auto start = ReadCodestreamStart(head);
    if (start) Describe(*start, headers);
    return start.has_value();
  }
  headers.fourcc = FourCC("jp2 ");
  return Jpeg2000Boxes(source, headers).Read();
}

}  // namespace media_server::image
