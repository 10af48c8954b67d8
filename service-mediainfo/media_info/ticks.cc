#include "service-mediainfo/media_info/ticks.h"

#include <limits>

#include "mediainfo/result.h"

namespace service::mediainfo::media_info::impl {
namespace {

constexpr double kGuardSeconds = 1e-8;
constexpr double kEnd = 0x1p64;

}  // namespace

std::uint64_t SecondsToTicks(double seconds) {
  const double ticks = (seconds + kGuardSeconds) * static_cast<double>(kTicksPerSecond);
  if (!(ticks > 0)) return 0;
  if (ticks >= kEnd) return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(ticks);
}

}  // namespace service::mediainfo::media_info::impl
