#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Bytes that are in memory already, which it borrows.
class SpanSource final : public IByteSource {
 public:
  explicit SpanSource(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    if (offset >= bytes_.size()) return 0;
    const auto rest = bytes_.subspan(static_cast<std::size_t>(offset));
    const std::size_t size = std::min(out.size(), rest.size());
    std::ranges::copy(rest.first(size), out.begin());
    return size;
  }
  std::optional<std::uint64_t> Size() const override { return bytes_.size(); }

 private:
  std::span<const std::uint8_t> bytes_;
};

}  // namespace media_server
