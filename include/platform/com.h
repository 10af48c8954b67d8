#pragma once

#include <cstdint>

#include "platform/guid.h"

namespace platform {

/// COM status: negative on failure.
using ComStatus = std::int32_t;

inline constexpr ComStatus kOk = 0;
inline constexpr ComStatus kNoInterface = static_cast<ComStatus>(0x80004002);
inline constexpr ComStatus kInvalidPointer = static_cast<ComStatus>(0x80004003);
inline constexpr ComStatus kFail = static_cast<ComStatus>(0x80004005);
inline constexpr ComStatus kNoAggregation = static_cast<ComStatus>(0x80040110);
inline constexpr ComStatus kClassNotRegistered = static_cast<ComStatus>(0x80040154);
inline constexpr ComStatus kOutOfMemory = static_cast<ComStatus>(0x8007000E);
inline constexpr ComStatus kInvalidArgument = static_cast<ComStatus>(0x80070057);

constexpr bool Failed(ComStatus status) { return status < 0; }

/// First three operations of every COM-style object. Objects die by Release only, hence the protected destructor.
class IComObject {
 public:
  static constexpr Guid kInterfaceId{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  /// Gives the interface `id` of this object in `*out` with one reference that the caller releases.
  /// kNoInterface (and null in `*out`) when the object has no such interface; kInvalidPointer when `out` is null.
  virtual ComStatus QueryInterface(const Guid& id, void** out) = 0;
  /// Both return the new count. Safe to call from any thread.
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

 protected:
  ~IComObject() = default;
};

}  // namespace platform
