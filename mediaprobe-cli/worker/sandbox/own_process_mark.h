#pragma once

#include <cstdint>

namespace mediaprobe::sandbox {

/// Stands in a compiled filter for the number of the process that installs it. No process has it, since numbers end at
/// 2^22.
inline constexpr std::uint32_t kOwnProcessMark = 0x4F574E50;

}  // namespace mediaprobe::sandbox
