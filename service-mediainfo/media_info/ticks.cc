#include "service-mediainfo/media_info/ticks.h"

#include "mediainfo/result.h"
#include "service-mediainfo/core/whole_number.h"

namespace service::mediainfo::media_info::impl {
namespace {

constexpr double kGuardSeconds = 1e-8;

}  // namespace

std::uint64_t SecondsToTicks(double seconds) {
  return ToWholeNumber((seconds + kGuardSeconds) * static_cast<double>(kTicksPerSecond));
}

}  // namespace service::mediainfo::media_info::impl
