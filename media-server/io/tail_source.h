#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The part of another source from an offset on. Borrows the source.
class TailSource final : public IByteSource {
 public:
  TailSource(IByteSource& source, std::uint64_t start) : source_(source), start_(start) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    return source_.ReadAt(start_ + offset, out);
  }
  const char* ReadFailure() const override { return source_.ReadFailure(); }
  std::optional<std::uint64_t> Size() const override {
    const auto size = source_.Size();
    if (!size) return std::nullopt;
    return *size > start_ ? *size - start_ : 0;
  }

 private:
  IByteSource& source_;
  std::uint64_t start_;
};

}  // namespace media_server
