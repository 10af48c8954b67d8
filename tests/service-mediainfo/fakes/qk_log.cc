#include "fakes/host.h"

namespace {

[[maybe_unused]] const bool loaded = (FakeLibraryLoaded("QK_log.dll"), true);

}  // namespace

extern "C" PLATFORM_EXPORT void SetProtectedPath(const char16_t* text) { FakeSetProtectedPath(text); }
