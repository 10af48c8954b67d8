#pragma once

#include <chrono>
#include <cstdint>

#include "media-server/io/byte_source.h"

namespace media_server {

/// What one open may spend.
struct ReadBudget {
  /// Bytes read in all. The default is above what any real header needs (the sample tables of a day of video are some
  /// 100 MB) and stops files that make a reader walk all over a disk.
  std::uint64_t bytes = std::uint64_t{512} << 20;
  std::chrono::steady_clock::duration time = std::chrono::seconds(30);
};

/// Hands on what another source reads until the budget is spent; from then on nothing more is read.
class BoundedSource final : public IByteSource {
 public:
  /// Borrows `source`. The time starts now.
  BoundedSource(IByteSource& source, const ReadBudget& budget)
      : source_(source), bytes_left_(budget.bytes), deadline_(std::chrono::steady_clock::now() + budget.time) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
  std::optional<std::uint64_t> Size() const override { return source_.Size(); }

  /// True once a read was refused.
  bool Spent() const { return spent_; }
  /// True once the time is over, also when nothing is read (for loops that only parse).
  bool TimeIsOver() const { return std::chrono::steady_clock::now() >= deadline_; }

 private:
  IByteSource& source_;
  std::uint64_t bytes_left_;
  std::chrono::steady_clock::time_point deadline_;
  bool spent_ = false;
};

}  // namespace media_server
