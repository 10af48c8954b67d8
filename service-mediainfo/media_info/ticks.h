#pragma once

#include <cstdint>

namespace service::mediainfo::media_info::impl {

/// A duration in seconds as a count of 100 ns, cut to a whole number after 1e-8 s was added against results such as
/// 29999999.999. Not-a-number and negative durations give 0, too long ones the largest count.
std::uint64_t SecondsToTicks(double seconds);

}  // namespace service::mediainfo::media_info::impl
