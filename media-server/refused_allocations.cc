#include "media-server/refused_allocations.h"

#include <atomic>

namespace media_server {
namespace {

constinit std::atomic<std::uint64_t> refused{0};

}  // namespace

std::uint64_t RefusedAllocations() { return refused.load(std::memory_order_relaxed); }

void CountRefusedAllocation() { refused.fetch_add(1, std::memory_order_relaxed); }

}  // namespace media_server
