#pragma once

#include "core/loading.h"
#include "platform/library.h"

namespace media_server {

/// The function `name` of the library file `library`, which lies beside the media server library and is loaded for it:
/// what few inputs need is kept out of the start of every process. Null when the library is missing. It stays loaded.
template <typename Function>
Function LoadSiblingFunction(const char* library, const char* name) {
  CoreTellLoading(library);
  const HMODULE handle = LoadLibraryA(library);
  return handle ? reinterpret_cast<Function>(GetProcAddress(handle, name)) : nullptr;
}

}  // namespace media_server
