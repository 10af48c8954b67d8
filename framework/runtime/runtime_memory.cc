// Part of every library that carries a copy of the C++ runtime of its own.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
namespace __gnu_cxx {
void __freeres();
}  // namespace __gnu_cxx
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

/// What the runtime knows of a thread: the exceptions that it has caught, and how many are under way (Itanium C++ ABI,
/// exception handling, 2.2.2).
struct ThreadState {
  void* caught_exceptions;
  unsigned uncaught_exceptions;
};

/// The runtime's own would be fetched from the allocator when a thread first throws. Where the reason to throw is that
/// there is no memory, the C library ends the process then. This one is found by a descriptor (framework/runtime's
/// CMakeLists.txt), for which the loader makes it, and what else its library keeps for a thread, a part of every thread
/// from its beginning, as long as the 512 bytes last that it has set apart for that; ours are some 470 altogether.
thread_local ThreadState thread_state{};

}  // namespace

// In the place of the runtime's functions of these names. Not declared by <cxxabi.h>, where they are visible to other
// libraries.
extern "C" {
[[gnu::visibility("hidden")]] ThreadState* ThreadStateOfRuntime() asm("__cxa_get_globals");
[[gnu::visibility("hidden")]] ThreadState* ThreadStateOfRuntimeFast() asm("__cxa_get_globals_fast");

ThreadState* ThreadStateOfRuntime() { return &thread_state; }
ThreadState* ThreadStateOfRuntimeFast() { return &thread_state; }
}

namespace {

/// Where there was no room, at least the thread that loads the library has it from then on: a worker process has no
/// other.
[[gnu::constructor]] void FetchThreadState() { [[maybe_unused]] const void* volatile state = ThreadStateOfRuntime(); }

/// Lower numbers are for the runtime itself: after everything else of the library.
constexpr int kLast = 101;

/// The copy takes 72 KB when it is loaded, for exceptions that are thrown when there is no other memory, and would keep
/// them when it is unloaded.
[[gnu::destructor(kLast)]] void FreeRuntimeMemory() { __gnu_cxx::__freeres(); }

}  // namespace
