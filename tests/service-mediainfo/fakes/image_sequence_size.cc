#include <cstdint>
#include <cstdlib>

#include "fakes/host.h"

// As image_size.cc.
namespace {

[[maybe_unused]] const bool kLoaded = (FakeLibraryLoaded("GetImageSequenceSize"), true);

}  // namespace

extern "C" PLATFORM_EXPORT bool GetImageSequenceSize(const char*, std::int32_t*, std::int32_t*, std::uint32_t*) {
  std::abort();
}
