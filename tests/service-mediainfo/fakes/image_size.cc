#include <cstdint>
#include <cstdlib>

#include "fakes/host.h"

// Part of an image library, of which the module wants to know only that it is there.
namespace {

[[maybe_unused]] const bool kLoaded = (FakeLibraryLoaded("GetImageSize"), true);

}  // namespace

extern "C" PLATFORM_EXPORT bool GetImageSize(const char*, std::int32_t*, std::int32_t*) { std::abort(); }
