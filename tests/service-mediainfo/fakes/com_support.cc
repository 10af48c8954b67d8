#include "fakes/host.h"

namespace {

[[maybe_unused]] const bool kLoaded = (FakeLibraryLoaded("COMSupport.dll"), true);

}  // namespace

extern "C" PLATFORM_EXPORT std::int32_t QKCreateInstance(const platform::Guid& class_id, void* outer,
                                                         std::uint32_t context, const platform::Guid& interface_id,
                                                         void** out) {
  return FakeCreateInstance(class_id, outer, context, interface_id, out);
}
