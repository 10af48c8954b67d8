#pragma once

/// Running out of memory at a chosen allocation, for the whole program and the module.
namespace fakes {

/// While not negative, allocations fail after so many that still succeed: all of them, or only the first.
extern int allocations_left;
extern bool allocation_fails_once;

/// Back to allocations that succeed when the test ends, however it ends.
struct AllocationsSucceedAgain {
  AllocationsSucceedAgain() = default;
  AllocationsSucceedAgain(const AllocationsSucceedAgain&) = delete;
  AllocationsSucceedAgain& operator=(const AllocationsSucceedAgain&) = delete;
  ~AllocationsSucceedAgain() {
    allocations_left = -1;
    allocation_fails_once = false;
  }
};

/// Runs `operation` with 0, 1, 2, ... allocations until it answers true; `check_failure` looks at what each one left
/// that answered false. The number of failures, at most 1000.
template <typename Operation, typename CheckFailure>
int CountFailures(Operation operation, CheckFailure check_failure) {
  constexpr int kMost = 1000;
  for (int allowed = 0; allowed < kMost; ++allowed) {
    allocations_left = allowed;
    const bool succeeded = operation();
    allocations_left = -1;
    if (succeeded) return allowed;
    check_failure();
  }
  return kMost;
}

}  // namespace fakes
