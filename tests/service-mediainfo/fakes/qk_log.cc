#include "fakes/host.h"

namespace {

[[maybe_unused]] const bool kLoaded = (FakeLibraryLoaded("QK_log.dll"), true);

}  // namespace

extern "C" PLATFORM_EXPORT void SetProtectedPath(const char16_t* text) { FakeSetProtectedPath(text); }
