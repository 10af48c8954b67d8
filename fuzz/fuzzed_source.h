#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "media-server/io/byte_source.h"

namespace fuzz {

/// The fuzzer's bytes as a source that counts what is read from it.
class FuzzedSource : public media_server::IByteSource {
 public:
  explicit FuzzedSource(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    if (offset >= bytes_.size()) return 0;
    const auto rest = bytes_.subspan(static_cast<std::size_t>(offset));
    const std::size_t size = std::min(rest.size(), out.size());
    std::copy_n(rest.begin(), size, out.begin());
    bytes_read_ += size;
    return size;
  }
  std::optional<std::uint64_t> Size() const override { return bytes_.size(); }

  std::uint64_t TakeBytesRead() { return std::exchange(bytes_read_, 0); }

 private:
  std::span<const std::uint8_t> bytes_;
  std::uint64_t bytes_read_ = 0;
};

}  // namespace fuzz
