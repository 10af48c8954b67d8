#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mediaprobe {

/// "2023-05-17T10:20:30+02:00": the local date and time of `seconds` since 1970 with the local zone's offset at that
/// time. Empty for years before 1 and after 9999, which the form does not have.
std::optional<std::string> Iso8601Local(std::int64_t seconds);

}  // namespace mediaprobe
