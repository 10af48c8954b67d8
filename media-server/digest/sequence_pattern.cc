#include "media-server/digest/sequence_pattern.h"

#include <charconv>
#include <limits>

namespace media_server {
namespace {

/// A number of digits only, within 64 bits.
std::optional<std::uint64_t> ParseNumber(std::string_view digits) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<SequencePattern::Range> SequencePattern::ParseRange(std::string_view text) {
  const auto dash = text.rfind('-');
  const std::string_view first_digits = text.substr(0, dash);
  const auto first = ParseNumber(first_digits);
  const auto last = dash == text.npos ? first : ParseNumber(text.substr(dash + 1));
  if (!first || !last) return std::nullopt;
  return Range{*first, *last, first_digits.size()};
}

std::optional<SequencePattern> SequencePattern::Parse(std::string_view path) {
  const auto open = path.rfind('[');
  const auto close = path.rfind(']');
  if (open == path.npos || close == path.npos || close < open) return std::nullopt;
  SequencePattern pattern;
  pattern.prefix_ = path.substr(0, open);
  pattern.suffix_ = path.substr(close + 1);
  std::string_view pieces = path.substr(open + 1, close - open - 1);
  while (!pieces.empty()) {
    const auto comma = pieces.find(',');
    if (const std::string_view piece = pieces.substr(0, comma); !piece.empty()) {
      const auto range = ParseRange(piece);
      if (!range) return std::nullopt;
      if (range->first <= range->last) pattern.ranges_.push_back(*range);
    }
    pieces = comma == pieces.npos ? std::string_view() : pieces.substr(comma + 1);
  }
  return pattern;
}

std::optional<std::string> SequencePattern::Next() {
  if (range_ == ranges_.size()) return std::nullopt;
  const Range& range = ranges_[range_];
  std::string digits = std::to_string(range.first + step_);
  if (digits.size() < range.width) digits.insert(0, range.width - digits.size(), '0');
  if (range.first + step_ == range.last) {
    ++range_;
    step_ = 0;
  } else {
    ++step_;
  }
  return prefix_ + digits + suffix_;
}

std::uint64_t SequencePattern::FrameCount() const {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t count = 0;
  for (const Range& range : ranges_) {
    const std::uint64_t steps = range.last - range.first;
    if (steps >= kMost - count) return kMost;
    count += steps + 1;
  }
  return count;
}

}  // namespace media_server
