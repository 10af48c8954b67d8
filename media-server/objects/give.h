#pragma once

#include <new>

#include "core/error_text.h"
#include "platform/com.h"
#include "platform/com_ptr.h"

namespace media_server {

/// Gives what `make` makes, a ComPtr, through an out argument that is null. Memory that runs out is a failed call,
/// since no exception may cross the interface.
template <typename Object, typename Make>
platform::ComStatus Give(Object** out, const Make& make) {
  try {
    *out = make().Detach();
    return platform::kOk;
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return platform::kFail;
  }
}

/// Gives one more reference to `object`, which exists already.
template <typename Object>
platform::ComStatus GiveReference(Object& object, Object** out) {
  if (out == nullptr) return platform::kInvalidPointer;
  object.AddRef();
  *out = &object;
  return platform::kOk;
}

}  // namespace media_server
