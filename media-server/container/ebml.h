#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "media-server/container/byte_reader.h"

namespace media_server {

/// Head of an EBML element (RFC 8794 section 6): its id with the length marker kept, as the format's documents write
/// it, and the size of its content; no size when the writer left it unknown.
struct EbmlElement {
  std::uint32_t id = 0;
  std::optional<std::uint64_t> size;
};

/// Longest head: four bytes of id, eight of size.
inline constexpr std::size_t kLongestEbmlHead = 12;

/// Reads one element head. Empty when the bytes end within it or hold none (an id of more than four bytes).
inline std::optional<EbmlElement> ReadEbmlElement(ByteReader& reader) {
  const std::uint8_t id_first = reader.U8();
  const auto id_length = static_cast<std::size_t>(std::countl_zero(id_first)) + 1;
  if (id_length > 4) return std::nullopt;
  const std::uint64_t id = std::uint64_t{id_first} << 8 * (id_length - 1) | reader.BigEndian(id_length - 1);

  const std::uint8_t size_first = reader.U8();
  const auto size_length = static_cast<std::size_t>(std::countl_zero(size_first)) + 1;
  if (size_length > 8 || !reader.Ok()) return std::nullopt;
  const std::uint64_t mask = (std::uint64_t{1} << 7 * size_length) - 1;
  const std::uint64_t size =
      (std::uint64_t{size_first} << 8 * (size_length - 1) | reader.BigEndian(size_length - 1)) & mask;
  if (!reader.Ok()) return std::nullopt;

  EbmlElement element{static_cast<std::uint32_t>(id), size};
  const bool unknown_size = size == mask;
  if (unknown_size) element.size.reset();
  return element;
}

}  // namespace media_server
