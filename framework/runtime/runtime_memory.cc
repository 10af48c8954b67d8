// For modules that carry a copy of the C++ runtime of their own. Such a copy takes 72 KB when it is loaded, for
// exceptions that are thrown when there is no other memory, and keeps them when it is unloaded.

namespace __gnu_cxx {
void __freeres();
}  // namespace __gnu_cxx

namespace {

/// Lower numbers are for the runtime itself: after everything else of the module.
constexpr int kLast = 101;

[[gnu::destructor(kLast)]] void FreeRuntimeMemory() { __gnu_cxx::__freeres(); }

}  // namespace
