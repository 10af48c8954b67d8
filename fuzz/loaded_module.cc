#include "fuzz/loaded_module.h"

#include <dlfcn.h>

namespace fuzz {
namespace {

std::span<const service::ServiceDescriptor> Load() {
  void* library = dlopen(MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
  FUZZ_CHECK(library != nullptr);
  const auto get_info =
      reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(library, service::kGetServiceModuleInfo));
  FUZZ_CHECK(get_info != nullptr);
  const service::ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  FUZZ_CHECK(get_info(&table, &count) && table != nullptr && count == 4);
  FUZZ_CHECK(table[0].init(nullptr));
  return {table, count};
}

}  // namespace

std::span<const service::ServiceDescriptor> ModuleTable() {
  static const std::span<const service::ServiceDescriptor> table = Load();
  return table;
}

}  // namespace fuzz
