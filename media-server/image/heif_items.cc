#include "media-server/image/heif_items.h"

#include <algorithm>
#include <string>

#include "media-server/container/byte_reader.h"

namespace media_server::image {
namespace {

constexpr std::size_t kMostTableBytes = 96 * 1024;

/// Version and flags, with which most boxes of the item tables begin (ISO/IEC 14496-12 4.2).
struct FullHead {
  std::uint8_t version = 0;
  std::uint32_t flags = 0;
};

FullHead TakeHead(ByteReader& reader) { return {reader.U8(), reader.Be24()}; }

/// Up to the NUL, which is skipped; all that is left where there is none.
std::string_view TakeText(ByteReader& reader) {
  ByteReader ahead = reader;
  const std::string_view rest = AsText(ahead.TakeRest());
  const auto length = rest.find('\0');
  const std::string_view text = rest.substr(0, length);
  reader.Skip(length == rest.npos ? rest.size() : length + 1);
  return text;
}

/// ItemInfoEntry, ISO/IEC 14496-12 8.11.6. Versions 0 and 1 have no type: no picture is told by them.
std::optional<HeifItem> ParseItemInfo(const BoxView& box) {
  if (box.type != "infe") return std::nullopt;
  ByteReader reader(box.payload);
  const FullHead head = TakeHead(reader);
  if (head.version < 2) return std::nullopt;
  HeifItem item;
  item.id = head.version == 2 ? reader.Be16() : reader.Be32();
  reader.Skip(2);  // protection
  item.type = AsText(reader.Take(4));
  if (!reader.Ok()) return std::nullopt;
  TakeText(reader);  // name
  if (item.type == "mime") {
    item.content_type = TakeText(reader);
    item.content_encoding = TakeText(reader);
  }
  return item;
}

/// Calls `visit` with each entry of `iinf` (ISO/IEC 14496-12 8.11.6) until it returns false.
template <typename Visitor>
void VisitItems(std::span<const std::uint8_t> item_infos, Visitor visit) {
  ByteReader reader(item_infos);
  const FullHead head = TakeHead(reader);
  reader.Skip(head.version == 0 ? 2 : 4);  // count: the boxes tell it too
  while (const auto box = NextBox(reader)) {
    const auto item = ParseItemInfo(*box);
    if (item && !visit(*item)) return;
  }
}

/// Calls `visit` with the type, the referring and the referred item of each reference (ISO/IEC 14496-12 8.11.12).
template <typename Visitor>
void VisitReferences(std::span<const std::uint8_t> references, Visitor visit) {
  ByteReader reader(references);
  const std::size_t width = TakeHead(reader).version == 0 ? 2 : 4;
  while (const auto box = NextBox(reader)) {
    ByteReader entry(box->payload);
    const auto from = static_cast<std::uint32_t>(entry.BigEndian(width));
    entry.Skip(2);  // count: the box's size tells it too
    while (entry.Remaining() >= width) visit(box->type, from, static_cast<std::uint32_t>(entry.BigEndian(width)));
  }
}

}  // namespace

HeifItems::HeifItems(Mp4BoxReader& boxes, const Mp4Box& meta) {
  constexpr std::uint64_t kVersionAndFlags = 4;
  struct Table {
    std::string_view type;
    Bytes HeifItems::*payload;
  };
  constexpr std::array kTables = {
      Table{"pitm", &HeifItems::primary_},    Table{"iinf", &HeifItems::item_infos_},
      Table{"iloc", &HeifItems::locations_},  Table{"iprp", &HeifItems::properties_},
      Table{"iref", &HeifItems::references_},
  };
  std::size_t room = kMostTableBytes;
  Mp4BoxRange range = boxes.Children(meta, kVersionAndFlags);
  while (const auto box = boxes.Next(range)) {
    if (box->Is("idat")) {
      data_offset_ = box->payload_offset;
      data_size_ = box->payload_size;
    }
    const auto table = std::ranges::find(kTables, box->Type(), &Table::type);
    if (table == kTables.end() || !(this->*table->payload).empty()) continue;
    this->*table->payload = boxes.Payload(*box, room);
    room -= (this->*table->payload).size();
  }
  if (const auto container = FindBox(properties_, "ipco")) {
    ByteReader reader(container->payload);
    while (const auto property = NextBox(reader)) property_boxes_.push_back(*property);
  }
}

std::optional<std::uint32_t> HeifItems::PrimaryId() const {
  ByteReader reader(primary_);
  const FullHead head = TakeHead(reader);
  const std::uint32_t id = head.version == 0 ? reader.Be16() : reader.Be32();
  return reader.Ok() ? std::optional(id) : std::nullopt;
}

std::optional<HeifItem> HeifItems::Find(std::uint32_t id) const {
  std::optional<HeifItem> found;
  VisitItems(item_infos_, [&](const HeifItem& item) {
    if (item.id == id) found = item;
    return !found;
  });
  return found;
}

std::vector<HeifItem> HeifItems::All() const {
  std::vector<HeifItem> items;
  VisitItems(item_infos_, [&](const HeifItem& item) {
    items.push_back(item);
    return true;
  });
  return items;
}

// ISO/IEC 23008-12 9.3.1: an association is a bit that marks it essential and the property's place in ipco from 1 on.
std::vector<BoxView> HeifItems::PropertiesOf(std::uint32_t id) const {
  std::vector<BoxView> properties;
  ByteReader boxes(properties_);
  while (const auto box = NextBox(boxes)) {
    if (box->type != "ipma") continue;
    ByteReader reader(box->payload);
    const FullHead head = TakeHead(reader);
    const std::size_t width = (head.flags & 1) != 0 ? 2 : 1;
    const std::uint64_t index_mask = width == 2 ? 0x7FFF : 0x7F;
    reader.Skip(4);  // count: the box's size tells it too
    while (reader.Remaining() > 0) {
      const std::uint32_t item = head.version == 0 ? reader.Be16() : reader.Be32();
      const std::size_t count = reader.U8();
      if (item != id) {
        reader.Skip(count * width);
        continue;
      }
      for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t index = reader.BigEndian(width) & index_mask;
        if (index > 0 && index <= property_boxes_.size()) properties.push_back(property_boxes_[index - 1]);
      }
      return properties;
    }
  }
  return properties;
}

std::vector<std::uint32_t> HeifItems::TargetsOf(std::uint32_t id, std::string_view type) const {
  std::vector<std::uint32_t> targets;
  VisitReferences(references_, [&](std::string_view reference, std::uint32_t from, std::uint32_t to) {
    if (reference == type && from == id) targets.push_back(to);
  });
  return targets;
}

std::vector<std::uint32_t> HeifItems::SourcesOf(std::optional<std::uint32_t> id, std::string_view type) const {
  std::vector<std::uint32_t> sources;
  VisitReferences(references_, [&](std::string_view reference, std::uint32_t from, std::uint32_t to) {
    if (reference == type && (!id || to == *id)) sources.push_back(from);
  });
  std::ranges::sort(sources);
  return sources;
}

// ISO/IEC 14496-12 8.11.3.
std::optional<HeifItems::Location> HeifItems::FindLocation(std::uint32_t id) const {
  constexpr std::size_t kMostExtents = 64;
  ByteReader reader(locations_);
  const FullHead head = TakeHead(reader);
  const std::uint16_t sizes = reader.Be16();
  const std::size_t offset_size = sizes >> 12;
  const std::size_t length_size = sizes >> 8 & 0xF;
  const std::size_t base_offset_size = sizes >> 4 & 0xF;
  const std::size_t index_size = head.version == 0 ? 0 : sizes & 0xF;
  if (std::max({offset_size, length_size, base_offset_size, index_size}) > 8) return std::nullopt;
  reader.Skip(head.version < 2 ? 2 : 4);  // count: the box's size tells it too
  while (reader.Remaining() > 0) {
    const std::uint32_t item = head.version < 2 ? reader.Be16() : reader.Be32();
    Location location;
    if (head.version > 0) location.construction_method = reader.Be16() & 0xF;
    const std::uint16_t data_reference = reader.Be16();
    const std::uint64_t base = reader.BigEndian(base_offset_size);
    const std::size_t count = reader.Be16();
    if (item != id) {
      reader.Skip(count * (index_size + offset_size + length_size));
      continue;
    }
    if (data_reference != 0 || count > kMostExtents) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
      reader.Skip(index_size);
      const std::uint64_t offset = reader.BigEndian(offset_size);
      if (offset > UINT64_MAX - base) return std::nullopt;
      location.extents.push_back({base + offset, reader.BigEndian(length_size)});
    }
    return reader.Ok() ? std::optional(location) : std::nullopt;
  }
  return std::nullopt;
}

std::vector<std::uint8_t> HeifItems::ReadItem(IByteSource& source, std::uint32_t id, std::size_t most) const {
  constexpr unsigned kInFile = 0;
  constexpr unsigned kInItemData = 1;
  const auto location = FindLocation(id);
  if (!location || location->construction_method > kInItemData) return {};
  std::vector<std::uint8_t> data;
  for (Extent extent : location->extents) {
    if (location->construction_method != kInFile) {
      if (extent.offset > data_size_) return {};
      // A length of 0 is all of it.
      if (extent.length == 0) extent.length = data_size_ - extent.offset;
      if (extent.length > data_size_ - extent.offset) return {};
      extent.offset += data_offset_;
    }
    if (extent.length > most - data.size()) return {};
    const auto piece = ReadBytes(source, extent.offset, static_cast<std::size_t>(extent.length));
    if (piece.size() < extent.length) return {};
    data.insert(data.end(), piece.begin(), piece.end());
  }
  return data;
}

}  // namespace media_server::image
