#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace media_server {

/// The names of a numbered picture sequence, told by a path with a bracket part: "dir/f_[0008-0010,12].png" is
/// dir/f_0008.png, f_0009.png, f_0010.png and f_12.png. The brackets are the last "[" and the last "]"; a range ends at
/// its last "-", and its numbers are filled up with zeros to the width of its first one. A range that runs backwards
/// has no frames.
class SequencePattern {
 public:
  /// Empty when `path` has no bracket part, or one that holds something else than numbers and ranges.
  static std::optional<SequencePattern> Parse(std::string_view path);

  /// Steps through the names in their order: the first call gives the first one; empty past the last.
  std::optional<std::string> Next();

  /// Number of all names, however far it was stepped; the largest number when there are more. Takes no longer for more.
  std::uint64_t FrameCount() const;

 private:
  struct Range {
    std::uint64_t first;
    std::uint64_t last;
    std::size_t width;  ///< least number of digits
  };

  static std::optional<Range> ParseRange(std::string_view text);

  std::string prefix_;
  std::string suffix_;
  std::vector<Range> ranges_;
  std::size_t range_ = 0;
  std::uint64_t step_ = 0;  ///< within the range
};

}  // namespace media_server
