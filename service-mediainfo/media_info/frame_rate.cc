#include "service-mediainfo/media_info/frame_rate.h"

#include <limits>

namespace service::mediainfo::media_info::impl {
namespace {

constexpr std::int64_t kStepsPerFrame = 1000;
/// Against truncation of rates such as 23.97599999.
constexpr double kGuard = 0.0001;
constexpr double kEnd = 0x1p63;

}  // namespace

core::Rational FrameRateToRational(double frames_per_second) {
  if (!(frames_per_second > 0)) return {1, 1};
  const double steps = (frames_per_second + kGuard) * static_cast<double>(kStepsPerFrame);
  if (steps >= kEnd) return {std::numeric_limits<std::int64_t>::max(), kStepsPerFrame};
  return {static_cast<std::int64_t>(steps), kStepsPerFrame};
}

}  // namespace service::mediainfo::media_info::impl
