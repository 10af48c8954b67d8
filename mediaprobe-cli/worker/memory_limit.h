#pragma once

#include <sys/resource.h>

#include <cstdint>

namespace mediaprobe {

/// The limit of address space, which is what the system can bound, that gives this process `memory_bytes` more than it
/// has now, or as many as its limit leaves.
rlim_t AddressSpaceWith(std::uint64_t memory_bytes);

}  // namespace mediaprobe
