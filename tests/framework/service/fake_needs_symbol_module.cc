#include <cstdint>

#include "platform/export.h"
#include "service/module_descriptor.h"

/// Defined nowhere.
extern "C" void MissingFromEveryLibrary();

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const service::ServiceDescriptor** /*table*/,
                                                     std::uint32_t* /*count*/) {
  MissingFromEveryLibrary();
  return true;
}
