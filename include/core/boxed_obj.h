#pragma once

#include <utility>

namespace core::detail {

/// A value on the heap behind a ValAny.
class IBoxedObj {
 public:
  virtual ~IBoxedObj() = default;
  virtual bool IsValid() const = 0;
  /// A new heap copy of the same dynamic type, owned by the caller. Throws std::bad_alloc when memory runs out.
  virtual IBoxedObj* Clone() const = 0;
};

template <typename T>
class BoxedObj final : public IBoxedObj {
 public:
  explicit BoxedObj(T value) : value_(std::move(value)) {}

  bool IsValid() const override { return true; }
  BoxedObj* Clone() const override { return new BoxedObj(value_); }
  const T& value() const { return value_; }

 private:
  T value_;
};

}  // namespace core::detail
