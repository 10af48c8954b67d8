#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// A part of the input that holds boxes one after another.
struct Mp4BoxRange {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  int depth = 0;  ///< 0 at the top level
};

/// One box (ISO/IEC 14496-12 4.2). Offsets count from the start of the input.
struct Mp4Box {
  std::array<char, 4> type = {};
  std::array<std::uint8_t, 16> uuid = {};  ///< extended type, set when type is "uuid"
  std::uint64_t offset = 0;                ///< of the box header
  std::uint64_t payload_offset = 0;
  std::uint64_t payload_size = 0;  ///< as far as the enclosing range holds it
  bool clipped = false;            ///< the declared size reaches beyond the enclosing range
  int depth = 0;

  std::string_view Type() const { return {type.data(), type.size()}; }
  bool Is(std::string_view name) const { return Type() == name; }
};

/// What a walk may cost at most. The defaults are ten times what the largest real header among our test files needs.
struct Mp4BoxLimits {
  int depth = 16;
  std::uint32_t boxes = 50'000;
  std::uint64_t bytes = std::uint64_t{32} << 20;
};

/// Reads boxes of a source through one small window, so that neighbouring headers cost one read. Every step is checked
/// and counted; when a limit is reached the reader answers as if the input ended there and `BudgetSpent` turns true.
class Mp4BoxReader {
 public:
  Mp4BoxReader(IByteSource& source, const Mp4BoxLimits& limits);

  /// The whole input; without an end where its size is unknown.
  Mp4BoxRange WholeInput() const;

  /// The box at `range.begin`, which moves behind it. Empty at the end of the range, at a size that cannot be, at a
  /// zero size below the top level (QuickTime's end mark in lists), or when a limit is reached.
  std::optional<Mp4Box> Next(Mp4BoxRange& range);

  /// The boxes inside `box` behind `skip` bytes of its payload. Empty range beyond the depth limit.
  Mp4BoxRange Children(const Mp4Box& box, std::uint64_t skip = 0);

  /// Up to `most` bytes of the payload from `skip`; fewer when the payload, the input or the byte budget ends.
  std::vector<std::uint8_t> Payload(const Mp4Box& box, std::size_t most, std::uint64_t skip = 0);

  /// The whole payload; empty when it is longer than `most`, cut short or not covered by the byte budget.
  std::vector<std::uint8_t> WholePayload(const Mp4Box& box, std::size_t most);

  /// What may still be read of the byte budget.
  std::uint64_t BytesLeft() const { return limits_.bytes - bytes_read_; }

  /// True also where the source gave less than it has.
  bool BudgetSpent() const { return budget_spent_; }

 private:
  std::size_t Read(std::uint64_t offset, std::span<std::uint8_t> out);
  std::size_t ReadSource(std::uint64_t offset, std::span<std::uint8_t> out);

  IByteSource& source_;
  Mp4BoxLimits limits_;
  std::uint32_t boxes_seen_ = 0;
  std::uint64_t bytes_read_ = 0;
  bool budget_spent_ = false;
  std::uint64_t window_offset_ = 0;
  std::vector<std::uint8_t> window_;
};

}  // namespace media_server
