#pragma once

#include "core/val_any.h"

namespace service::mediainfo {

/// Key/value store of everything that is known about a file or stream ("Metedata" is the interface's own spelling).
/// Keys are the texts of metedata_keys.h and its neighbours. One caller at a time.
class IMetedataInfo {
 public:
  virtual ~IMetedataInfo() = default;

  /// Copies the value stored under `key` to `out`; a boxed value is cloned, a buffer stays the store's and is valid as
  /// long as the store. False, and `out` as it was, when there is none. The four date keys are answered as kInt64
  /// seconds since 1970 from the combined date text; core::AnyBadAccess when that is no text.
  virtual bool GetValue(const char* key, core::ValAny* out) = 0;
  /// Stores a copy of `value`; a malloc'ed buffer passes into the store's keeping. False for a null or
  /// empty key, a null value, and without memory.
  virtual bool SetValue(const char* key, const core::ValAny* value) = 0;
};

}  // namespace service::mediainfo
