#pragma once

#include <cstdint>

namespace service::mediainfo {

/// Result codes of the module's interfaces.
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kFailed = 1;           ///< the operation failed or is not supported
inline constexpr std::uint32_t kBadMediaInfo = 2;     ///< initialisation from the media-info object failed
inline constexpr std::uint32_t kNoOutput = 4;         ///< a required out argument is null, or memory ran out
inline constexpr std::uint32_t kIndexOutOfRange = 6;  ///< also: an operation that a description never supports
inline constexpr std::uint32_t kInitFailed =
    7;  ///< null server object, missing interface or record, failing server call

/// Durations are unsigned counts of this unit: 100 nanoseconds.
inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;

}  // namespace service::mediainfo
