#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/media-server/container/memory_source.h"

namespace media_server {

/// A box around `payload`.
inline std::string Box(std::string_view type, const std::string& payload = "") {
  return Be(8 + payload.size(), 4) + std::string(type) + payload;
}

/// A box with version and flags.
inline std::string FullBox(std::string_view type, const std::string& payload, std::uint8_t version = 0,
                           std::uint32_t flags = 0) {
  return Box(type, Be(version, 1) + Be(flags, 3) + payload);
}

}  // namespace media_server
