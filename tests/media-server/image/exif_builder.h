#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "media-server/image/exif_values.h"

namespace media_server::image {

/// One value of a directory, in little-endian bytes.
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

/// What a little-endian structure with these directories gives.
inline ExifValues MakeExif(const std::vector<ExifEntry>& image, const std::vector<ExifEntry>& photo = {},
                           const std::vector<ExifEntry>& gps = {}) {
  ExifValues exif;
  const auto add = [&exif](ExifDirectory directory, const std::vector<ExifEntry>& entries) {
    for (const auto& [tag, type, count, value] : entries) {
      exif.values.push_back({directory, tag, type, count, {value.begin(), value.end()}});
    }
  };
  add(ExifDirectory::kImage, image);
  add(ExifDirectory::kExif, photo);
  add(ExifDirectory::kGps, gps);
  return exif;
}

}  // namespace media_server::image
