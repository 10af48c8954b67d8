#pragma once

#include <atomic>
#include <cstdint>

#include "platform/com.h"

namespace media_server {

/// Base of our COM-style objects: counts references (a new object has one, its creator's) and answers QueryInterface
/// for the interfaces listed. Interfaces without an identifier of their own answer as IComObject; the first one listed
/// is the identity.
template <typename First, typename... Others>
class ComObject : public First, public Others... {
 public:
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  platform::ComStatus QueryInterface(const platform::Guid& id, void** out) final {
    if (out == nullptr) return platform::kInvalidPointer;
    *out = nullptr;
    if (id == platform::IComObject::kInterfaceId) {
      *out = static_cast<First*>(this);
    } else {
      Offer<First>(id, out);
      (Offer<Others>(id, out), ...);
    }
    if (*out == nullptr) return platform::kNoInterface;
    AddRef();
    return platform::kOk;
  }

  std::uint32_t AddRef() final { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }

  std::uint32_t Release() final {
    const std::uint32_t left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  ComObject() = default;
  virtual ~ComObject() = default;

 private:
  template <typename Interface>
  void Offer(const platform::Guid& id, void** out) {
    if (id == Interface::kInterfaceId) *out = static_cast<Interface*>(this);
  }

  std::atomic<std::uint32_t> references_{1};
};

}  // namespace media_server
