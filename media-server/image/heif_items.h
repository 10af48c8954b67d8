#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "media-server/container/mp4_boxes.h"
#include "media-server/image/box_view.h"
#include "media-server/io/byte_source.h"

namespace media_server::image {

/// An entry of the item table. Texts are borrowed from the HeifItems.
struct HeifItem {
  std::uint32_t id = 0;
  std::string_view type;              ///< four characters: "hvc1", "grid", "Exif", "mime"
  std::string_view content_type;      ///< of a mime item
  std::string_view content_encoding;  ///< of a mime item; empty when its data stand plain
};

/// The items of a file-level `meta` box (ISO/IEC 14496-12 8.11, ISO/IEC 23008-12 9.3). Tables are kept as they stand
/// and walked when asked: a file may declare 2^32 items, and a picture needs to know of a handful. What lies beyond
/// the bytes taken is not known.
class HeifItems {
 public:
  /// Takes at most 96 KiB of the tables, some 4000 items, through `boxes`.
  HeifItems(Mp4BoxReader& boxes, const Mp4Box& meta);
  HeifItems(const HeifItems&) = delete;
  HeifItems& operator=(const HeifItems&) = delete;

  std::optional<std::uint32_t> PrimaryId() const;
  std::optional<HeifItem> Find(std::uint32_t id) const;
  /// All items that stand in the table, in its order.
  std::vector<HeifItem> All() const;
  /// The item's properties in the order of their association, which is that in which transformations are applied.
  std::vector<BoxView> PropertiesOf(std::uint32_t id) const;

  /// Items that the item refers to by references of a type.
  std::vector<std::uint32_t> TargetsOf(std::uint32_t id, std::string_view type) const;
  /// Items with a reference of a type to the item, or to any item when `id` is empty. In ascending order.
  std::vector<std::uint32_t> SourcesOf(std::optional<std::uint32_t> id, std::string_view type) const;

  /// The data of an item that lies in this file (construction method 0) or in the `idat` box (1). Empty when it lies
  /// elsewhere, is cut short or longer than `most`.
  std::vector<std::uint8_t> ReadItem(IByteSource& source, std::uint32_t id, std::size_t most) const;

 private:
  struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
  };
  struct Location {
    unsigned construction_method = 0;
    std::vector<Extent> extents;
  };

  std::optional<Location> FindLocation(std::uint32_t id) const;

  using Bytes = std::vector<std::uint8_t>;
  Bytes primary_, item_infos_, locations_, properties_, references_;  // payloads of pitm, iinf, iloc, iprp, iref
  std::vector<BoxView> property_boxes_;                               // children of ipco; borrow from properties_
  std::uint64_t data_offset_ = 0;                                     // of idat's payload
  std::uint64_t data_size_ = 0;
};

}  // namespace media_server::image
