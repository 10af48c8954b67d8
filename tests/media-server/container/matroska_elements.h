#pragma once

#include <cstdint>
#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {

/// The id of an element as it is written: marker included, most significant byte first.
inline std::string ElementId(std::uint32_t id) {
  return Be(id, id > 0xFFFFFF ? 4 : id > 0xFFFF ? 3 : id > 0xFF ? 2 : 1);
}

/// An element with its size in eight bytes.
inline std::string Element(std::uint32_t id, const std::string& content) {
  return ElementId(id) + Be(1ULL << 56 | content.size(), 8) + content;
}
/// The head of an element whose size is not told.
inline std::string EndlessElement(std::uint32_t id) { return ElementId(id) + Be(0x01FFFFFFFFFFFFFF, 8); }

inline std::string Segment(const std::string& content) { return Element(0x18538067, content); }

/// Of a track whose number is below 127; `time` counts from the cluster's.
inline std::string BlockContent(std::uint8_t track, const std::string& frame, std::uint8_t flags, int time = 0) {
  return Be(0x80U | track, 1) + Be(static_cast<std::uint16_t>(time), 2) + Be(flags, 1) + frame;
}

}  // namespace media_server
