// The linker puts these in front of the C library's (--wrap) for everything that is linked into the library. The
// doubled names are the linker's.

#include <cstddef>

#include "media-server/refused_allocations.h"

namespace {

void* Count(void* block) {
  if (block == nullptr) media_server::CountRefusedAllocation();
  return block;
}

}  // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
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
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}
