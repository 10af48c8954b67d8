#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace media_server::image {

/// What a Brotli stream (RFC 7932) unpacks to. Empty when it is damaged or cut, or comes out longer than `most` bytes.
std::vector<std::uint8_t> DecompressBrotli(std::span<const std::uint8_t> compressed, std::size_t most);

}  // namespace media_server::image
