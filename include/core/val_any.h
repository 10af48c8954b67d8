#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "core/boxed_obj.h"

namespace core {

/// Thrown by the typed reads of ValAny; the one exception that may cross an interface.
class AnyBadAccess : public std::logic_error {
 public:
  AnyBadAccess() : std::logic_error("ValAny Bad Access") {}
};

/// What the payload of a ValAny holds.
enum class ValType : std::uint32_t {
  kEmpty = 0,
  kInt32 = 2,
  kUInt32 = 3,
  kInt64 = 4,  ///< also a time in seconds since 1970
  kUInt64 = 5,
  kFloat = 6,
  kDouble = 7,
  kBuffer = 8,  ///< malloc'ed narrow text, wide text or data block, as the key under which it is stored says
  kBoxed = 272,
};

/// One tagged value: a 64-bit payload and a type tag. A tag of 255 or more means a boxed object, which the holder owns:
/// it is cloned by a copy and destroyed when overwritten. A kBuffer payload is never freed here: copies share the
/// pointer, and the metadata store that the value was given to frees it.
class ValAny {
 public:
  static constexpr std::uint32_t kFirstBoxedTag = 255;

  ValAny() = default;
  ValAny(const ValAny& other) : payload_(other.ClonedPayload()), type_(other.type_) {}
  ValAny(ValAny&& other) noexcept
      : payload_(std::exchange(other.payload_, 0)), type_(std::exchange(other.type_, ValType::kEmpty)) {}
  ValAny& operator=(const ValAny& other) {
    if (this != &other) Set(other.type_, other.ClonedPayload());
    return *this;
  }
  ValAny& operator=(ValAny&& other) noexcept {
    if (this != &other) {
      const ValType type = std::exchange(other.type_, ValType::kEmpty);
      Set(type, std::exchange(other.payload_, 0));
    }
    return *this;
  }
  ~ValAny() { Reset(); }

  static ValAny FromInt32(std::int32_t value) {
    return {ValType::kInt32, static_cast<std::uint64_t>(static_cast<std::uint32_t>(value))};
  }
  static ValAny FromUInt32(std::uint32_t value) { return {ValType::kUInt32, value}; }
  static ValAny FromInt64(std::int64_t value) { return {ValType::kInt64, static_cast<std::uint64_t>(value)}; }
  static ValAny FromUInt64(std::uint64_t value) { return {ValType::kUInt64, value}; }
  static ValAny FromFloat(float value) { return {ValType::kFloat, std::bit_cast<std::uint32_t>(value)}; }
  static ValAny FromDouble(double value) { return {ValType::kDouble, std::bit_cast<std::uint64_t>(value)}; }
  /// `buffer` comes from the C allocator, or is borrowed for as long as the value lives and is given to no store.
  static ValAny FromBuffer(const void* buffer) { return {ValType::kBuffer, reinterpret_cast<std::uintptr_t>(buffer)}; }
  static ValAny FromBoxed(std::unique_ptr<detail::IBoxedObj> object) {
    return {ValType::kBoxed, reinterpret_cast<std::uintptr_t>(object.release())};
  }
  template <typename T>
  static ValAny Box(T value) {
    return FromBoxed(std::make_unique<detail::BoxedObj<T>>(std::move(value)));
  }

  ValType type() const { return type_; }
  bool IsBoxed() const { return static_cast<std::uint32_t>(type_) >= kFirstBoxedTag; }

  /// Back to the empty holder; a boxed object is destroyed.
  void Reset() { Set(ValType::kEmpty, 0); }

  /// Any integer that fits. Throws AnyBadAccess for other types and for values out of range.
  std::int32_t AsInt32() const;
  std::int64_t AsInt64() const;
  /// Any number. Throws AnyBadAccess for other types.
  double AsDouble() const;
  /// Address of the buffer (null when the payload is null), still owned as before. Throws AnyBadAccess for other types.
  template <typename Unit = char>
  Unit* AsBuffer() const {
    if (type_ != ValType::kBuffer) throw AnyBadAccess();
    return reinterpret_cast<Unit*>(payload_);
  }
  /// The boxed value, borrowed; null when the holder holds something else.
  template <typename T>
  const T* AsBoxed() const {
    const auto* box = IsBoxed() ? dynamic_cast<const detail::BoxedObj<T>*>(Object()) : nullptr;
    return box ? &box->value() : nullptr;
  }

 private:
  ValAny(ValType type, std::uint64_t payload) : payload_(payload), type_(type) {}

  detail::IBoxedObj* Object() const { return reinterpret_cast<detail::IBoxedObj*>(payload_); }
  std::uint64_t ClonedPayload() const {
    return IsBoxed() && payload_ != 0 ? reinterpret_cast<std::uintptr_t>(Object()->Clone()) : payload_;
  }
  void Set(ValType type, std::uint64_t payload) {
    if (IsBoxed()) delete Object();
    payload_ = payload;
    type_ = type;
  }

  std::uint64_t payload_ = 0;
  ValType type_ = ValType::kEmpty;
};
static_assert(sizeof(ValAny) == 16 && std::is_standard_layout_v<ValAny>);

inline std::int64_t ValAny::AsInt64() const {
  switch (type_) {
    case ValType::kInt32:
      return static_cast<std::int32_t>(payload_);
    case ValType::kUInt32:
      return static_cast<std::uint32_t>(payload_);
    case ValType::kInt64:
      return static_cast<std::int64_t>(payload_);
    case ValType::kUInt64:
      if (!std::in_range<std::int64_t>(payload_)) throw AnyBadAccess();
      return static_cast<std::int64_t>(payload_);
    default:
      throw AnyBadAccess();
  }
}

inline std::int32_t ValAny::AsInt32() const {
  const std::int64_t value = AsInt64();
  if (!std::in_range<std::int32_t>(value)) throw AnyBadAccess();
  return static_cast<std::int32_t>(value);
}

inline double ValAny::AsDouble() const {
  switch (type_) {
    case ValType::kInt32:
      return static_cast<std::int32_t>(payload_);
    case ValType::kUInt32:
      return static_cast<std::uint32_t>(payload_);
    case ValType::kInt64:
      return static_cast<double>(static_cast<std::int64_t>(payload_));
    case ValType::kUInt64:
      return static_cast<double>(payload_);
    case ValType::kFloat:
      return std::bit_cast<float>(static_cast<std::uint32_t>(payload_));
    case ValType::kDouble:
      return std::bit_cast<double>(payload_);
    default:
      throw AnyBadAccess();
  }
}

}  // namespace core
