#include "fakes/failing_allocations.h"

#include <cstdlib>
#include <new>

namespace fakes {

int allocations_left = -1;
bool allocation_fails_once = false;

}  // namespace fakes

namespace {

void* Allocate(std::size_t size) {
  if (fakes::allocations_left == 0) {
    if (fakes::allocation_fails_once) fakes::allocations_left = -1;
    return nullptr;
  }
  if (fakes::allocations_left > 0) --fakes::allocations_left;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

// GCC sees malloc and free behind these operators and takes them for a mismatch.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

// The program's own stand in front of the standard library's, also for the module.
void* operator new(std::size_t size) {
  void* block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
