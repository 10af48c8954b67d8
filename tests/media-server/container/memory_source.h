#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// A source over bytes in memory that counts what is read from it.
class MemorySource : public IByteSource {
 public:
  explicit MemorySource(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}
  explicit MemorySource(std::string_view text) : bytes_(text.begin(), text.end()) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    ++reads_;
    if (offset >= bytes_.size()) return 0;
    const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    const std::size_t size = std::min<std::size_t>(out.size(), static_cast<std::size_t>(bytes_.end() - begin));
    std::copy_n(begin, size, out.begin());
    bytes_read_ += size;
    return size;
  }
  std::optional<std::uint64_t> Size() const override {
    if (!knows_size_) return std::nullopt;
    return bytes_.size();
  }

  void ForgetSize() { knows_size_ = false; }
  std::uint64_t BytesRead() const { return bytes_read_; }
  std::uint64_t Reads() const { return reads_; }

 private:
  std::vector<std::uint8_t> bytes_;
  bool knows_size_ = true;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t reads_ = 0;
};

/// One whose bytes lie with a server, as it says.
class RemoteSource final : public MemorySource {
 public:
  using MemorySource::MemorySource;
  bool IsRemote() const override { return true; }
};

/// `value` in `width` bytes, most significant first.
inline std::string Be(std::uint64_t value, int width) {
  std::string bytes;
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

/// `value` in `width` bytes, least significant first.
inline std::string Le(std::uint64_t value, int width) {
  std::string bytes = Be(value, width);
  std::ranges::reverse(bytes);
  return bytes;
}

/// `value` in four bytes of seven bits, most significant first, as ID3v2 has sizes.
inline std::string InSevens(std::uint64_t value) {
  return Be((value >> 21 & 0x7F) << 24 | (value >> 14 & 0x7F) << 16 | (value >> 7 & 0x7F) << 8 | (value & 0x7F), 4);
}

inline std::string Zeros(std::size_t count) { return std::string(count, '\0'); }

}  // namespace media_server
