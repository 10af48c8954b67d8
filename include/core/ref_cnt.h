#pragma once

#include <atomic>
#include <cstdint>

namespace core {

// GCC 12 sees through `delete this` to the whole object's destructor, finds the object's start before this base, and
// takes the adjusted pointer for one that was never allocated.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#endif

/// Intrusive reference count of a session class. A new object counts 0: whoever creates it takes the first reference.
template <typename Session>
class RefCnt {
 public:
  /// Both return the new count and may be called from any thread.
  virtual std::uint32_t AddRef() { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  /// Destroys the whole object when the count goes from 1 to 0.
  virtual std::uint32_t Release() {
    const std::uint32_t left = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }
  virtual ~RefCnt() = default;

 protected:
  RefCnt() = default;
  RefCnt(const RefCnt&) = delete;
  RefCnt& operator=(const RefCnt&) = delete;

 private:
  std::atomic<std::uint32_t> count_{0};
};

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // namespace core
