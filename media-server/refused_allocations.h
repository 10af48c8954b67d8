#pragma once

#include <cstdint>

namespace media_server {

/// How many allocations the C library has refused to the code of this library, libavformat's included, in any thread.
/// Counts nothing that libavformat refuses itself, as too large.
std::uint64_t RefusedAllocations();

/// One more.
void CountRefusedAllocation();

}  // namespace media_server
