#pragma once

#include <utility>

#include "platform/com.h"

namespace platform {

/// Owner of one reference to a COM-style object. Copying adds a reference; moving does not.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  /// Takes a reference of its own.
  explicit ComPtr(T* object) : object_(object) {
    if (object_) object_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.object_) {}
  ComPtr(ComPtr&& other) noexcept : object_(other.Detach()) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComPtr() { Reset(); }

  /// Takes over a reference that the caller holds: the count stays.
  static ComPtr Attach(T* object) {
    ComPtr owner;
    owner.object_ = object;
    return owner;
  }
  /// Gives the reference up to the caller: the count stays.
  T* Detach() { return std::exchange(object_, nullptr); }
  void Reset() {
    if (T* object = Detach()) object->Release();
  }
  /// For out arguments that arrive with a reference; what was held is released first.
  T** Put() {
    Reset();
    return &object_;
  }
  /// Asks the object for another interface; empty when it has none. The object itself must not be null.
  template <typename Other>
  ComPtr<Other> Query() const {
    void* found = nullptr;
    if (Failed(object_->QueryInterface(Other::kInterfaceId, &found))) return {};
    return ComPtr<Other>::Attach(static_cast<Other*>(found));
  }

  T* Get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

}  // namespace platform
