#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tests/media-server/container/mp4_builder.h"

namespace media_server {

/// Writes HEIF files: brands, a file-level meta box with items, their data behind it.
struct HeifFile {
  struct Item {
    std::uint32_t id = 1;
    std::string type = "hvc1";
    std::vector<unsigned> properties;  ///< places in `properties`, from 1 on
    std::string data;
    bool in_meta = false;  ///< data in idat instead of mdat
    std::string mime;      ///< content type and encoding of a mime item, each with its NUL
  };
  struct Reference {
    std::string type;
    std::uint32_t from = 0;
    std::vector<std::uint32_t> to;
  };

  std::string brand = "heic";
  std::uint32_t primary = 1;
  std::vector<Item> items;
  std::vector<std::string> properties;
  std::vector<Reference> references;
  std::string boxes_behind;  ///< of the meta box
  /// Width of item numbers, and the versions of the boxes that go with it.
  bool has_wide_ids = false;
  bool has_wide_properties = false;

  std::string Bytes() const {
    // The length of the boxes does not depend on the offsets in them.
    const std::size_t data_offset = Headers(0).size() + 8;
    return Headers(data_offset) + Box("mdat", Data(/*in_meta=*/false));
  }

 private:
  std::string Id(std::uint32_t id) const { return Be(id, has_wide_ids ? 4 : 2); }

  std::string Data(bool in_meta) const {
    std::string data;
    for (const Item& item : items) {
      if (item.in_meta == in_meta) data += item.data;
    }
    return data;
  }

  std::string Headers(std::size_t data_offset) const {
    const std::string handler = FullBox("hdlr", Zeros(4) + "pict" + Zeros(13));
    const std::string pitm = FullBox("pitm", Id(primary), has_wide_ids ? 1 : 0);
    return Box("ftyp", brand + Zeros(4) + "mif1") +
           FullBox("meta", handler + pitm + Locations(data_offset) + ItemInfos() + Properties() + References() +
                               Box("idat", Data(/*in_meta=*/true))) +
           boxes_behind;
  }

  std::string ItemInfos() const {
    std::string entries;
    for (const Item& item : items) {
      const std::string name("\0", 1);
      entries += FullBox("infe", Id(item.id) + Zeros(2) + item.type + name + item.mime, has_wide_ids ? 3 : 2);
    }
    return FullBox("iinf", Be(items.size(), 2) + entries);
  }

  /// Offsets and lengths of 4 bytes, no base offset.
  std::string Locations(std::size_t data_offset) const {
    std::string entries;
    std::size_t file_offset = data_offset;
    std::size_t meta_offset = 0;
    for (const Item& item : items) {
      std::size_t& offset = item.in_meta ? meta_offset : file_offset;
      entries += Id(item.id) + Be(item.in_meta ? 1 : 0, 2)                         // construction method
                 + Zeros(2) + Be(1, 2) + Be(offset, 4) + Be(item.data.size(), 4);  // this file, one extent
      offset += item.data.size();
    }
    return FullBox("iloc", Be(0x4400, 2) + Be(items.size(), has_wide_ids ? 4 : 2) + entries, has_wide_ids ? 2 : 1);
  }

  std::string Properties() const {
    std::string boxes;
    for (const std::string& property : properties) boxes += property;
    std::string entries;
    for (const Item& item : items) {
      entries += Id(item.id) + Be(item.properties.size(), 1);
      for (const unsigned place : item.properties) entries += Be(place, has_wide_properties ? 2 : 1);
    }
    return Box("iprp", Box("ipco", boxes) + FullBox("ipma", Be(items.size(), 4) + entries, has_wide_ids ? 1 : 0,
                                                    has_wide_properties ? 1 : 0));
  }

  std::string References() const {
    std::string boxes;
    for (const Reference& reference : references) {
      std::string targets;
      for (const std::uint32_t id : reference.to) targets += Id(id);
      boxes += Box(reference.type, Id(reference.from) + Be(reference.to.size(), 2) + targets);
    }
    return FullBox("iref", boxes, has_wide_ids ? 1 : 0);
  }
};

inline std::string Extents(std::uint32_t width, std::uint32_t height) {
  return FullBox("ispe", Be(width, 4) + Be(height, 4));
}
/// By quarter turns against the clock.
inline std::string Rotation(unsigned quarters) { return Box("irot", Be(quarters, 1)); }
/// Axis 0 exchanges top and bottom, 1 left and right.
inline std::string Mirror(unsigned axis) { return Box("imir", Be(axis, 1)); }
inline std::string AuxiliaryType(const std::string& urn) { return FullBox("auxC", urn + Zeros(1)); }

/// A picture track of HEIF's sequences: 90000 ticks a second, sizes of all samples the same.
struct HeifTrack {
  std::string handler = "pict";
  std::string sample_entry = "hvc1";
  std::uint32_t width = 256;
  std::uint32_t height = 144;
  std::uint32_t duration = 432000;
  std::string decoding_times = Be(1, 4) + Be(120, 4) + Be(3600, 4);  ///< entries: samples, ticks of each
  std::string entry_boxes;
  std::uint32_t samples = 120;
  std::vector<std::int32_t> matrix = {1, 0, 0, 1};  ///< what becomes of right and of down

  std::string Bytes() const {
    const std::string entry = Box(sample_entry, Zeros(6) + Be(1, 2)                             // data reference
                                                    + Zeros(16) + Be(width, 2) + Be(height, 2)  // size
                                                    + Zeros(50) + entry_boxes);
    const std::string tables = FullBox("stsd", Be(1, 4) + entry) + FullBox("stts", decoding_times) +
                               FullBox("stsz", Be(1, 4) + Be(samples, 4));
    std::string rows;
    for (const std::size_t row : {0, 2}) {
      for (const std::size_t column : {0, 1}) rows += Be(static_cast<std::uint32_t>(matrix[row + column]) << 16, 4);
      rows += Zeros(4);
    }
    return Box("trak",
               FullBox("tkhd", Zeros(8) + Be(1, 4) + Zeros(24) + rows + Zeros(8) + Be(1 << 30, 4) + Zeros(8), 0, 3) +
                   Box("mdia", FullBox("mdhd", Zeros(8) + Be(90000, 4) + Be(duration, 4) + Zeros(4)) +
                                   FullBox("hdlr", Zeros(4) + handler + Zeros(13)) + Box("minf", Box("stbl", tables))));
  }
};

}  // namespace media_server
