#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace media_server {

/// Whether `head` begins as a gzip member does (RFC 1952 section 2.3.1; deflate is the only method there is).
bool IsGzip(std::span<const std::uint8_t> head);

/// The first `most` bytes that a gzip member inflates to; fewer where `compressed` is cut or damaged.
std::vector<std::uint8_t> InflateGzip(std::span<const std::uint8_t> compressed, std::size_t most);

}  // namespace media_server
