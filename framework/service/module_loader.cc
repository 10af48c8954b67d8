#include "module_loader.h"

#include <cstdint>

#include "platform/library.h"

namespace service {
namespace {

GetServiceModuleInfoFunction FindEntry(HMODULE module) {
  return reinterpret_cast<GetServiceModuleInfoFunction>(GetProcAddress(module, kGetServiceModuleInfo));
}

}  // namespace

// What was loaded is never unloaded. Nobody can tell when the last piece of a module's code is out of use: besides
// services and sessions there are the deleters in the control blocks of shared sessions that hosts still hold, objects
// that travelled on to other modules, and what the module registered to run at thread or process end. All that
// unloading could win is a few pages, at the moment when the process ends anyway. A file that is no module is treated
// alike: its static initialisation may have registered the same things.
std::optional<std::span<const ServiceDescriptor>> LoadServiceTable(const char* path, std::string* fault) {
  HMODULE module = LoadLibraryA(path);
  if (!module) {
    *fault = platform::LibraryErrorText();
    return std::nullopt;
  }
  const GetServiceModuleInfoFunction get_service_module_info = FindEntry(module);
  if (!get_service_module_info) {
    *fault = std::string("it exports no ") + kGetServiceModuleInfo;
    return std::nullopt;
  }
  const ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  get_service_module_info(&table, &count);
  if (!table) {
    *fault = "it tells no table of services";
    return std::nullopt;
  }
  return std::span(table, count);
}

}  // namespace service
