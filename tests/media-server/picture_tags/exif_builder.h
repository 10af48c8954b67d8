#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace media_server::picture_tags {

/// One entry of a TIFF directory, its value in little-endian bytes.
struct ExifEntry {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  std::string value;
};

inline void AppendLe(std::string& bytes, std::uint32_t value, int width) {
  for (int i = 0; i < width; ++i) bytes += static_cast<char>(value >> (8 * i));
}

/// Type 2: text, with its terminator.
inline ExifEntry Ascii(std::uint16_t tag, std::string_view text) {
  return {tag, 2, static_cast<std::uint32_t>(text.size() + 1), std::string(text) + '\0'};
}

/// Type 3: one 16-bit number.
inline ExifEntry Short(std::uint16_t tag, std::uint16_t number) {
  std::string value;
  AppendLe(value, number, 2);
  return {tag, 3, 1, value};
}

/// Type 5 (unsigned) or 10 (signed): numerators and denominators.
inline ExifEntry Rationals(std::uint16_t tag, const std::vector<std::uint32_t>& numbers, std::uint16_t type = 5) {
  std::string value;
  for (const std::uint32_t number : numbers) AppendLe(value, number, 4);
  return {tag, type, static_cast<std::uint32_t>(numbers.size() / 2), value};
}

/// Type 7: bytes.
inline ExifEntry Undefined(std::uint16_t tag, std::string_view bytes) {
  return {tag, 7, static_cast<std::uint32_t>(bytes.size()), std::string(bytes)};
}

/// Appends a directory and what its entries point to; they are put in the order of their tags.
inline void AppendDirectory(std::string& tiff, std::vector<ExifEntry> entries) {
  std::ranges::sort(entries, {}, &ExifEntry::tag);
  auto value_offset = static_cast<std::uint32_t>(tiff.size() + 2 + 12 * entries.size() + 4);
  std::string values;
  AppendLe(tiff, static_cast<std::uint32_t>(entries.size()), 2);
  for (ExifEntry& entry : entries) {
    AppendLe(tiff, entry.tag, 2);
    AppendLe(tiff, entry.type, 2);
    AppendLe(tiff, entry.count, 4);
    if (entry.value.size() <= 4) {
      entry.value.resize(4);
      tiff += entry.value;
      continue;
    }
    AppendLe(tiff, value_offset + static_cast<std::uint32_t>(values.size()), 4);
    values += entry.value;
    if (values.size() % 2 != 0) values += '\0';
  }
  AppendLe(tiff, 0, 4);  // no next directory
  tiff += values;
}

/// A little-endian TIFF structure with a first, an Exif and a GPS directory.
inline std::vector<std::uint8_t> MakeExif(std::vector<ExifEntry> image, const std::vector<ExifEntry>& photo = {},
                                          const std::vector<ExifEntry>& gps = {}) {
  const auto pointer = [](std::uint16_t tag, std::size_t offset) {
    std::string value;
    AppendLe(value, static_cast<std::uint32_t>(offset), 4);
    return ExifEntry{tag, 4, 1, value};
  };
  std::string tiff("II\x2A\0\0\0\0\0", 8);
  AppendDirectory(tiff, photo);
  const std::size_t gps_offset = tiff.size();
  AppendDirectory(tiff, gps);
  const std::size_t image_offset = tiff.size();
  image.push_back(pointer(0x8769, 8));
  image.push_back(pointer(0x8825, gps_offset));
  AppendDirectory(tiff, image);
  std::string offset;
  AppendLe(offset, static_cast<std::uint32_t>(image_offset), 4);
  tiff.replace(4, 4, offset);
  return {tiff.begin(), tiff.end()};
}

}  // namespace media_server::picture_tags
