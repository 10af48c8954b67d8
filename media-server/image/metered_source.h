#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/io/byte_source.h"

namespace media_server::image {

/// Hands on what another source reads as long as a budget covers it. A read that it does not cover gives nothing, and
/// smaller ones may follow.
class MeteredSource final : public IByteSource {
 public:
  /// Borrows `source`.
  MeteredSource(IByteSource& source, std::uint64_t budget_bytes) : source_(source), bytes_left_(budget_bytes) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    if (out.size() > bytes_left_) return 0;
    const std::size_t got = source_.ReadAt(offset, out);
    bytes_left_ -= got;
    return got;
  }
  std::optional<std::uint64_t> Size() const override { return source_.Size(); }

  std::uint64_t BytesLeft() const { return bytes_left_; }

 private:
  IByteSource& source_;
  std::uint64_t bytes_left_;
};

}  // namespace media_server::image
