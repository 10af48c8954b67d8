#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server::image {

/// What a reader may read of one still picture.
inline constexpr std::uint64_t kMostStillBytes = 256 * 1024;

/// What a reader may read of an animation: the headers of its frames lie all over the file.
inline constexpr std::uint64_t kMostAnimationBytes = std::uint64_t{64} << 20;

/// The reads of a walk from part to part of a file. Parts that lie close together come out of one read, of parts that
/// lie far apart only the headers are read. What is read in all stays within a budget.
class HeaderWindow {
 public:
  /// Longest run of bytes that View gives.
  static constexpr std::size_t kLongestView = 4096;

  /// Borrows `source`.
  explicit HeaderWindow(IByteSource& source, std::uint64_t budget_bytes = kMostStillBytes)
      : source_(source), bytes_left_(budget_bytes) {}

  /// Up to `size` bytes from `offset`, at most kLongestView; fewer at the end of the source, none when the budget does
  /// not cover them. `ahead` bytes are fetched along where they exist, for the views that come next. Valid until the
  /// next call.
  std::span<const std::uint8_t> View(std::uint64_t offset, std::size_t size, std::size_t ahead = 0);

  /// `size` bytes from `offset`; empty when they are not all there, when they are more than kMostMetadataBytes, or when
  /// the budget does not cover them.
  std::vector<std::uint8_t> Copy(std::uint64_t offset, std::uint64_t size);

  /// Once an animation shows itself.
  void RaiseBudget(std::uint64_t by_bytes) { bytes_left_ += by_bytes; }

  /// Whether the budget cut a view short, so that the walk saw less than the file holds.
  bool Spent() const { return spent_; }

 private:
  void Fill(std::uint64_t offset, std::size_t size, std::size_t ahead);

  IByteSource& source_;
  std::uint64_t bytes_left_;
  bool spent_ = false;
  std::uint64_t start_ = 0;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace media_server::image
