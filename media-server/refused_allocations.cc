#include "media-server/refused_allocations.h"

#include <atomic>
#include <cstddef>

namespace {

constinit std::atomic<std::uint64_t> refused{0};

void* Count(void* block) {
  if (block == nullptr) refused.fetch_add(1, std::memory_order_relaxed);
  return block;
}

}  // namespace

namespace media_server {

std::uint64_t RefusedAllocations() { return refused.load(std::memory_order_relaxed); }

}  // namespace media_server

// The linker puts these in front of the C library's (--wrap) for everything that is linked into this library.
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
int __real_posix_memalign(void** out, std::size_t alignment, std::size_t size);

void* __wrap_malloc(std::size_t size) { return Count(__real_malloc(size)); }
void* __wrap_calloc(std::size_t count, std::size_t size) { return Count(__real_calloc(count, size)); }

void* __wrap_realloc(void* block, std::size_t size) {
  void* const moved = __real_realloc(block, size);
  // Of size 0 it frees, and gives null.
  return size == 0 ? moved : Count(moved);
}

int __wrap_posix_memalign(void** out, std::size_t alignment, std::size_t size) {
  const int error = __real_posix_memalign(out, alignment, size);
  if (error != 0) Count(nullptr);
  return error;
}
}
