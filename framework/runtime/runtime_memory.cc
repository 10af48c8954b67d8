// Part of every library that carries a copy of the C++ runtime of its own.

#include <cxxabi.h>

namespace __gnu_cxx {
void __freeres();  // NOLINT(bugprone-reserved-identifier,readability-identifier-naming)
}  // namespace __gnu_cxx

namespace {

/// The copy keeps a little for each thread, which the loader fetches when a thread first throws. Where the reason to
/// throw is that there is no memory, that would end the process. So it is fetched when the library is loaded, for the
/// thread that loads it: a worker process has no other.
[[gnu::constructor]] void FetchThreadMemory() {
  // The declaration says that the call has no effect but its value.
  [[maybe_unused]] const void* volatile memory = abi::__cxa_get_globals();
}

/// Lower numbers are for the runtime itself: after everything else of the library.
constexpr int kLast = 101;

/// The copy takes 72 KB when it is loaded, for exceptions that are thrown when there is no other memory, and would keep
/// them when it is unloaded.
[[gnu::destructor(kLast)]] void FreeRuntimeMemory() { __gnu_cxx::__freeres(); }

}  // namespace
