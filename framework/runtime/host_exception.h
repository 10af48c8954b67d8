#pragma once

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstddef>
#include <new>
#include <typeinfo>

namespace runtime {

/// Throws `exception`, which the host is to catch, by the C++ runtime that the host shares with its libraries, if it
/// does. Each copy of the runtime counts the exceptions that are under way in a thread. One thrown by ours and caught
/// by the host's would leave both wrong for good, and the host's std::uncaught_exceptions() with them.
template <typename Exception>
[[noreturn]] void ThrowForHost(const Exception& exception) {
  using Allocate = void* (*)(std::size_t);
  using Throw = void (*)(void*, std::type_info*, void (*)(void*));
  const auto allocate = reinterpret_cast<Allocate>(dlsym(RTLD_DEFAULT, "__cxa_allocate_exception"));
  const auto throw_allocated = reinterpret_cast<Throw>(dlsym(RTLD_DEFAULT, "__cxa_throw"));
  if (allocate == nullptr || throw_allocated == nullptr) throw exception;
  void* thrown = new (allocate(sizeof(Exception))) Exception(exception);
  // The runtime asks for a type that it may change, and leaves it as it is.
  throw_allocated(thrown, const_cast<std::type_info*>(&typeid(Exception)),
                  [](void* caught) { static_cast<Exception*>(caught)->~Exception(); });
  __builtin_unreachable();
}

}  // namespace runtime
