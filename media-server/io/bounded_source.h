#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// What one open may spend.
struct ReadBudget {
  /// Bytes read in all, those apart that a reader told of (`WillRead`). At 100 Mb/s they are two thirds of a second,
  /// in which every stream appears; the default stops files that make a reader walk all over a disk.
  std::uint64_t bytes = std::uint64_t{8} << 20;
  /// Reads of the source, which are system calls or requests to a server.
  std::uint64_t reads = 2000;
  std::chrono::steady_clock::duration time = std::chrono::seconds(30);
};

/// Hands on what another source reads as long as the budget allows it: a read that does not fit is refused, a smaller
/// one may still fit. Keeps the start of the input and what a reader tells that it will read, so that several readers
/// of the same bytes cost one read.
class BoundedSource final : public IByteSource {
 public:
  /// Borrows `source`. The time starts now.
  BoundedSource(IByteSource& source, const ReadBudget& budget)
      : source_(source), reads_left_(budget.reads), deadline_(std::chrono::steady_clock::now() + budget.time) {
    Limit(budget.bytes);
  }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
  const char* ReadFailure() const override { return source_.ReadFailure(); }
  std::optional<std::uint64_t> Size() const override { return source_.Size(); }
  bool IsRemote() const override { return source_.IsRemote(); }
  bool LeftOutOfReach() const override { return source_.LeftOutOfReach(); }

  /// Reads at least one byte where `ReadAt` reads them all, but no more than is held, or than the budget allows. For
  /// readers that fill a buffer with whatever comes: they read nothing then that they may not want.
  std::size_t ReadSome(std::uint64_t offset, std::span<std::uint8_t> out);

  /// Tells that a reader knows these bytes to describe the input and will read them all. They are added to the budget,
  /// up to 512 MiB in all (the sample tables of a day of video take 100), and held, up to 8 MiB in all.
  void WillRead(std::uint64_t offset, std::uint64_t size) override;

  /// From now on the input reads as if `bytes` stood at `offset`.
  void Replace(std::uint64_t offset, std::string bytes) { replaced_.push_back({offset, std::move(bytes)}); }

  /// From now on `bytes` may be read in all, those before included and those told of apart. Of 768 KiB or more a part
  /// is kept for the end of the input, which tells how long it is where no header does.
  void Limit(std::uint64_t bytes);
  /// From now on what is read of the first and the last `bytes` of the input is held, for readers that come back to it.
  void KeepStart(std::uint64_t bytes) { kept_start_ = bytes; }
  void KeepEnd(std::uint64_t bytes) { kept_end_ = bytes; }
  /// What was read so far, without what was told of.
  std::uint64_t BytesRead() const { return bytes_read_ - std::min(bytes_read_, told_of_); }

  /// True once a read was refused.
  bool Spent() const { return spent_; }
  /// True once the time is over, also when nothing is read (for loops that only parse).
  bool TimeIsOver() const { return std::chrono::steady_clock::now() >= deadline_; }

 private:
  /// Bytes of the input that are in memory.
  struct Piece {
    std::uint64_t offset = 0;
    std::size_t size = 0;
    std::unique_ptr<std::uint8_t[]> bytes;
  };

  /// Bytes that stand in for those of the input.
  struct Replacement {
    std::uint64_t offset = 0;
    std::string bytes;
  };

  /// Reads up to where what is held begins or ends.
  std::size_t ReadPiece(std::uint64_t offset, std::span<std::uint8_t> out);
  std::size_t ReadPieceOfInput(std::uint64_t offset, std::span<std::uint8_t> out);
  std::span<const std::uint8_t> HeldAt(std::uint64_t offset) const;
  /// How far `offset` is from the next held piece behind it.
  std::uint64_t RoomBeforeNextPiece(std::uint64_t offset) const;
  /// How much of what is read at `offset` is to be held.
  std::uint64_t KeptFrom(std::uint64_t offset) const;
  /// Reads `size` bytes and keeps them; the budget has to allow them.
  void Hold(std::uint64_t offset, std::size_t size);
  std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> out);
  /// What of the budget a read at `offset` may take.
  std::uint64_t AllowedAt(std::uint64_t offset) const;
  bool IsAtEnd(std::uint64_t offset) const;

  IByteSource& source_;
  std::uint64_t bytes_read_ = 0;
  std::uint64_t bytes_left_ = 0;
  std::uint64_t end_bytes_left_ = 0;  ///< more of them for the end of the input
  std::uint64_t reads_left_;
  std::chrono::steady_clock::time_point deadline_;
  bool spent_ = false;
  std::vector<Piece> held_;
  std::uint64_t told_of_ = 0;
  std::uint64_t kept_start_ = 0;
  std::uint64_t kept_end_ = 0;
  std::vector<Replacement> replaced_;
};

}  // namespace media_server
