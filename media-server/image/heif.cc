#include "media-server/image/heif.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "media-server/container/mp4_boxes.h"
#include "media-server/image/alpha_type.h"
#include "media-server/image/box_uuids.h"
#include "media-server/image/exif_payload.h"
#include "media-server/image/fourcc.h"
#include "media-server/image/heif_items.h"
#include "media-server/image/heif_sequence.h"
#include "media-server/image/orientation.h"

namespace media_server::image {
namespace {

using namespace std::string_view_literals;

// With a sequence's movie box these make the 256 KiB that a picture's headers may cost. Boxes are headers and the
// tables of items; payloads are Exif and XMP together.
constexpr Mp4BoxLimits kLimits = {.boxes = 1024, .bytes = 112 * 1024};
constexpr std::size_t kMostPayloadBytes = 112 * 1024;

/// Item types whose picture is made from others (ISO/IEC 23008-12 6.6); the others come first among its `dimg`
/// references.
constexpr std::array kDerivedTypes = {"grid"sv, "iovl"sv, "iden"sv, "tmap"sv};

bool IsDerived(std::string_view type) { return std::ranges::find(kDerivedTypes, type) != kDerivedTypes.end(); }

const BoxView* FindProperty(const std::vector<BoxView>& properties, std::string_view type) {
  const auto property = std::ranges::find(properties, type, &BoxView::type);
  return property == properties.end() ? nullptr : &*property;
}

/// ImageSpatialExtentsProperty, ISO/IEC 23008-12 6.5.3.
std::optional<PictureSize> SizeOfExtents(const BoxView& ispe) {
  ByteReader reader(ispe.payload);
  reader.Skip(4);  // version, flags
  const std::uint32_t width = reader.Be32();
  const std::uint32_t height = reader.Be32();
  return reader.Ok() ? std::optional(PictureSize{width, height}) : std::nullopt;
}

/// Output size of the payload of a grid or an overlay (ISO/IEC 23008-12 6.6.2.2, 6.6.2.3).
std::optional<PictureSize> SizeOfDerivation(std::string_view type, std::span<const std::uint8_t> payload) {
  ByteReader reader(payload);
  reader.Skip(1);  // version
  const std::size_t width_bytes = (reader.U8() & 1) != 0 ? 4 : 2;
  reader.Skip(type == "grid" ? 2 : 8);  // rows and columns, or the colour behind the pictures
  const auto width = static_cast<std::uint32_t>(reader.BigEndian(width_bytes));
  const auto height = static_cast<std::uint32_t>(reader.BigEndian(width_bytes));
  return reader.Ok() ? std::optional(PictureSize{width, height}) : std::nullopt;
}

/// Transformative properties are done in the order of their association (ISO/IEC 23008-12 6.5.10, 6.5.12).
Orientation OrientationOf(const std::vector<BoxView>& properties) {
  OrientationSteps steps;
  for (const BoxView& property : properties) {
    if (property.payload.empty()) continue;
    const std::uint8_t value = property.payload.front();
    if (property.type == "irot") steps.RotateClockwise(-90 * (value & 3));
    if (property.type != "imir") continue;
    if ((value & 1) != 0) {
      steps.FlipHorizontally();
    } else {
      steps.FlipVertically();
    }
  }
  return steps.Result();
}

/// Metadata items of one kind, by what they describe.
struct ItemChoice {
  std::vector<std::uint32_t> of_picture;
  std::vector<std::uint32_t> of_nothing;

  std::span<const std::uint32_t> Best(std::size_t most) const {
    const std::span<const std::uint32_t> best = of_picture.empty() ? of_nothing : of_picture;
    return best.first(std::min(best.size(), most));
  }
};

class HeifReader {
 public:
  HeifReader(IByteSource& source, PictureHeaders& headers)
      : source_(source), headers_(headers), boxes_(source, kLimits) {}

  bool Read() {
    headers_.orientation = Orientation();
    bool has_movie = false;
    Mp4BoxRange range = boxes_.WholeInput();
    std::optional<HeifItems> items;
    std::optional<Mp4Box> xmp;
    while (const auto box = boxes_.Next(range)) {
      if (box->Is("meta") && !items) items.emplace(boxes_, *box);
      if (box->Is("uuid") && box->uuid == kXmpBox && !xmp) xmp = *box;
      has_movie = has_movie || box->Is("moov");
    }
    const auto primary = items ? items->PrimaryId() : std::nullopt;
    if (primary) ReadPicture(*items, *primary);
    if (has_movie) ReadHeifSequence(source_, headers_);
    if (primary) ReadMetadata(*items, *primary);
    if (xmp) ReadXmpBox(*xmp);
    return headers_.size.has_value();
  }

 private:
  void ReadPicture(const HeifItems& items, std::uint32_t id) {
    const auto item = items.Find(id);
    if (!item) return;
    const auto properties = items.PropertiesOf(id);
    headers_.orientation = OrientationOf(properties);
    headers_.alpha = AlphaOf(items, id);
    const auto coded = CodedItem(items, *item);
    if (coded) headers_.fourcc = FourCC(coded->type);
    if (const BoxView* const extents = FindProperty(properties, "ispe")) headers_.size = SizeOfExtents(*extents);
    if (headers_.size || !IsDerived(item->type)) return;
    constexpr std::size_t kMostDerivationBytes = 4096;
    if (item->type == "grid" || item->type == "iovl") {
      headers_.size = SizeOfDerivation(item->type, items.ReadItem(source_, id, kMostDerivationBytes));
    } else if (coded) {
      const auto coded_properties = items.PropertiesOf(coded->id);
      if (const BoxView* const extents = FindProperty(coded_properties, "ispe"))
        headers_.size = SizeOfExtents(*extents);
    }
  }

  /// The item itself, or the first of those that it is made from. References may run in circles.
  static std::optional<HeifItem> CodedItem(const HeifItems& items, HeifItem item) {
    constexpr int kMostSteps = 8;
    for (int step = 0; step < kMostSteps && IsDerived(item.type); ++step) {
      const auto sources = items.TargetsOf(item.id, "dimg");
      const auto source = sources.empty() ? std::nullopt : items.Find(sources.front());
      if (!source) return std::nullopt;
      item = *source;
    }
    return IsDerived(item.type) ? std::nullopt : std::optional(item);
  }

  /// Alpha is an auxiliary picture; how it is meant stands in a reference to it (ISO/IEC 23000-22 7.3.5.2).
  static imagecore::AlphaMode AlphaOf(const HeifItems& items, std::uint32_t id) {
    constexpr std::size_t kMostAuxiliaries = 16;
    constexpr std::size_t kVersionAndFlags = 4;
    auto auxiliaries = items.SourcesOf(id, "auxl");
    auxiliaries.resize(std::min(auxiliaries.size(), kMostAuxiliaries));
    for (const std::uint32_t auxiliary : auxiliaries) {
      const auto properties = items.PropertiesOf(auxiliary);
      const BoxView* const type = FindProperty(properties, "auxC");
      if (!type || type->payload.size() <= kVersionAndFlags) continue;
      const std::string_view text = AsText(type->payload.subspan(kVersionAndFlags));
      if (!IsAlphaType(text.substr(0, text.find('\0')))) continue;
      const auto premultiplied = items.TargetsOf(id, "prem");
      const bool is_premultiplied = std::ranges::find(premultiplied, auxiliary) != premultiplied.end();
      return is_premultiplied ? imagecore::kAlphaPremultiplied : imagecore::kAlphaStraight;
    }
    return imagecore::kAlphaNone;
  }

  /// Takes the Exif and XMP items that describe the picture (ISO/IEC 23008-12 A.2, A.3), else those that describe
  /// nothing: a map or a thumbnail may have its own.
  void ReadMetadata(const HeifItems& items, std::uint32_t primary) {
    const auto describing = items.SourcesOf(primary, "cdsc");
    const auto describing_any = items.SourcesOf(std::nullopt, "cdsc");
    ItemChoice exif, xmp;
    for (const HeifItem& item : items.All()) {
      const bool is_exif = item.type == "Exif";
      const bool is_xmp = item.content_type == "application/rdf+xml" && item.content_encoding.empty();
      if (!is_exif && !is_xmp) continue;
      ItemChoice& choice = is_exif ? exif : xmp;
      if (std::ranges::binary_search(describing, item.id)) {
        choice.of_picture.push_back(item.id);
      } else if (!std::ranges::binary_search(describing_any, item.id)) {
        choice.of_nothing.push_back(item.id);
      }
    }
    for (const std::uint32_t id : exif.Best(/*most=*/1)) {
      auto block = items.ReadItem(source_, id, payload_room_);
      payload_room_ -= block.size();
      headers_.metadata.exif = TiffOfExifBlock(std::move(block), ExifPrefix::kOffset);
    }
    for (const std::uint32_t id : xmp.Best(/*most=*/4)) {
      const auto packet = items.ReadItem(source_, id, payload_room_);
      payload_room_ -= packet.size();
      headers_.metadata.AddXmp(AsText(packet));
    }
  }

  /// Editors write XMP into sequences as into any other ISO base media file (XMP specification part 3, 1.2.7.1).
  void ReadXmpBox(const Mp4Box& box) {
    if (box.clipped || box.payload_size > payload_room_) return;
    const auto size = static_cast<std::size_t>(box.payload_size);
    const auto packet = ReadBytes(source_, box.payload_offset, size);
    if (packet.size() == size) headers_.metadata.AddXmp(AsText(packet));
  }

  IByteSource& source_;
  PictureHeaders& headers_;
  Mp4BoxReader boxes_;
  std::size_t payload_room_ = kMostPayloadBytes;
};

}  // namespace

bool ReadHeif(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureHeif;
  return HeifReader(source, headers).Read();
}

bool ReadAvif(IByteSource& source, PictureHeaders& headers) {
  headers.type = imagecore::kPictureAvif;
  return HeifReader(source, headers).Read();
}

}  // namespace media_server::image
