#pragma once

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/media-server/container/memory_source.h"

namespace media_server {

/// Writes TIFF structures, broken ones too: fields are taken as they are told.
class TiffBuilder {
 public:
  struct Field {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::string value;               ///< in the structure's byte order; put behind the directory when it is long
    std::vector<std::size_t> links;  ///< numbers of directories; their offsets are the value
    std::string field;               ///< when not empty, the entry's last bytes, whatever the value
  };

  explicit TiffBuilder(std::endian order = std::endian::little, bool is_big_tiff = false)
      : order_(order), is_big_tiff_(is_big_tiff), magic_(Number(is_big_tiff ? 43 : 42, 2)) {}

  void SetMagic(std::string two_bytes) { magic_ = std::move(two_bytes); }
  /// Bytes between the header and the first directory.
  void SetMark(std::string mark) { mark_ = std::move(mark); }

  std::string Number(std::uint64_t value, int width) const {
    return order_ == std::endian::big ? Be(value, width) : Le(value, width);
  }

  Field Byte(std::uint16_t tag, std::uint64_t value) const { return Numbers(tag, 1, 1, {value}); }
  Field Short(std::uint16_t tag, std::initializer_list<std::uint64_t> values) const {
    return Numbers(tag, 3, 2, values);
  }
  Field Short(std::uint16_t tag, std::uint64_t value) const { return Short(tag, {value}); }
  Field Long(std::uint16_t tag, std::initializer_list<std::uint64_t> values) const {
    return Numbers(tag, 4, 4, values);
  }
  Field Long(std::uint16_t tag, std::uint64_t value) const { return Long(tag, {value}); }
  Field Long8(std::uint16_t tag, std::uint64_t value) const { return Numbers(tag, 16, 8, {value}); }
  Field Rational(std::uint16_t tag, std::initializer_list<std::uint64_t> halves) const {
    Field field = Numbers(tag, 5, 4, halves);
    field.count /= 2;
    return field;
  }
  /// With its terminator.
  static Field Ascii(std::uint16_t tag, std::string_view text) {
    return {tag, 2, text.size() + 1, std::string(text) + '\0', {}, {}};
  }
  static Field Raw(std::uint16_t tag, std::uint16_t type, std::string value) {
    const std::size_t count = value.size();
    return {tag, type, count, std::move(value), {}, {}};
  }
  /// An entry as it stands, its value wherever `field` leads.
  static Field Entry(std::uint16_t tag, std::uint16_t type, std::uint64_t count, std::string field) {
    return {tag, type, count, {}, {}, std::move(field)};
  }
  static Field Link(std::uint16_t tag, std::vector<std::size_t> directories) {
    return {tag, 4, directories.size(), {}, std::move(directories), {}};
  }

  /// Directories are numbered from 0 in the order in which they are added. `next`: the number of the next one, or -1.
  void Add(std::vector<Field> fields, int next = -1) { directories_.push_back({std::move(fields), next}); }

  /// Where a directory begins, once all are added.
  std::uint64_t OffsetOf(std::size_t directory) const {
    std::uint64_t offset = HeaderSize();
    for (std::size_t i = 0; i < directory; ++i) offset += SizeOf(directories_[i]);
    return offset;
  }

  std::string Bytes() const {
    std::string bytes = order_ == std::endian::big ? "MM" : "II";
    bytes += magic_;
    if (is_big_tiff_) bytes += Number(8, 2) + Number(0, 2);
    bytes += Number(OffsetOf(0), Width()) + mark_;
    for (const Directory& directory : directories_) {
      const std::size_t values_offset = bytes.size() + TableSize(directory);
      std::string values;
      bytes += Number(directory.fields.size(), is_big_tiff_ ? 8 : 2);
      for (const Field& field : directory.fields) {
        const std::string value = ValueOf(field);
        bytes += Number(field.tag, 2) + Number(field.type, 2) + Number(field.count, Width());
        if (!field.field.empty()) {
          bytes += field.field;
        } else if (value.size() <= Inline()) {
          bytes += value + Zeros(Inline() - value.size());
        } else {
          bytes += Number(values_offset + values.size(), Width());
          values += value + Zeros(value.size() % 2);  // on word boundaries
        }
      }
      const auto next = static_cast<std::size_t>(directory.next);
      bytes += Number(directory.next < 0 ? 0 : OffsetOf(next), Width()) + values;
    }
    return bytes;
  }

 private:
  struct Directory {
    std::vector<Field> fields;
    int next;
  };

  Field Numbers(std::uint16_t tag, std::uint16_t type, int width, std::initializer_list<std::uint64_t> values) const {
    Field field{tag, type, values.size(), {}, {}, {}};
    for (const std::uint64_t value : values) field.value += Number(value, width);
    return field;
  }
  int Width() const { return is_big_tiff_ ? 8 : 4; }
  std::size_t Inline() const { return static_cast<std::size_t>(Width()); }
  std::size_t HeaderSize() const { return (is_big_tiff_ ? 16U : 8U) + mark_.size(); }
  std::size_t TableSize(const Directory& directory) const {
    return is_big_tiff_ ? 8 + 20 * directory.fields.size() + 8 : 2 + 12 * directory.fields.size() + 4;
  }
  static std::size_t ValueSize(const Field& field) { return field.value.size() + 4 * field.links.size(); }
  std::string ValueOf(const Field& field) const {
    std::string value = field.value;
    for (const std::size_t link : field.links) value += Number(OffsetOf(link), 4);
    return value;
  }
  std::size_t SizeOf(const Directory& directory) const {
    std::size_t size = TableSize(directory);
    for (const Field& field : directory.fields) {
      if (field.field.empty() && ValueSize(field) > Inline()) size += ValueSize(field) + ValueSize(field) % 2;
    }
    return size;
  }

  std::endian order_;
  bool is_big_tiff_;
  std::string magic_;
  std::string mark_;
  std::vector<Directory> directories_;
};

}  // namespace media_server
