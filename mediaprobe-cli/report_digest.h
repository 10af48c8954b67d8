#pragma once

#include <cstdint>
#include <functional>

namespace mediaprobe {

/// Told while an input's content is digested: bytes done, and bytes in all (0 unknown).
using ReportDigest = std::function<void(std::uint64_t done, std::uint64_t total)>;

}  // namespace mediaprobe
