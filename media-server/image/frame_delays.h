#pragma once

#include <cstdint>
#include <numeric>
#include <optional>

#include "core/rational.h"
#include "media-server/image/picture_headers.h"

namespace media_server::image {

/// How long the frames of an animation are shown, added up in the order they come.
class FrameDelays {
 public:
  /// A frame shown for `numerator` / `denominator` seconds; the denominator is not 0.
  void Add(std::uint32_t numerator, std::uint32_t denominator) {
    if (count_ == 0) first_ = {numerator, denominator};
    // Delays over one denominator, nearly all there are, add up without rounding.
    if (denominator == first_.denominator) {
      ticks_ += numerator;
    } else {
      other_seconds_ += static_cast<double>(numerator) / denominator;
    }
    constant_ = constant_ && numerator * first_.denominator == first_.numerator * denominator;
    ++count_;
  }

  std::uint64_t Count() const { return count_; }

  /// One pass over the frames; empty for a single frame, which stands still. The frame rate is told where all frames
  /// last equally long, and not 0.
  std::optional<Animation> Describe() const {
    if (count_ < 2) return std::nullopt;
    Animation animation{static_cast<double>(ticks_) / static_cast<double>(first_.denominator) + other_seconds_, {}};
    if (constant_ && first_.numerator > 0) animation.frame_rate = Reduced(first_.denominator, first_.numerator);
    return animation;
  }

  /// Frames per second over one pass, where all delays have one denominator; empty for a pass of no length.
  std::optional<core::Rational> MeanRate() const {
    if (ticks_ == 0) return std::nullopt;
    return Reduced(static_cast<std::int64_t>(count_) * first_.denominator, static_cast<std::int64_t>(ticks_));
  }

 private:
  static core::Rational Reduced(std::int64_t numerator, std::int64_t denominator) {
    const std::int64_t divisor = std::gcd(numerator, denominator);
    return {numerator / divisor, denominator / divisor};
  }

  core::Rational first_{0, 1};
  std::uint64_t count_ = 0;
  std::uint64_t ticks_ = 0;
  double other_seconds_ = 0;
  bool constant_ = true;
};

}  // namespace media_server::image
