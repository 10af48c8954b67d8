// What the dynamic loader makes of the file.

#include <dlfcn.h>
#include <elf.h>

#include <array>

#include "checks/areas.h"
#include "elf_file.h"
#include "subject.h"

namespace module_check {
namespace {

void Loads(Subject& subject) { subject.Load(); }

void FindsItsSymbolsItself(Subject& subject) {
  std::string fault;
  const std::optional<ElfFile> file = ReadElfFile(subject.target().module, &fault);
  Demand(file.has_value(), fault);
  const LoadedModule module = subject.Load();
  for (const ElfFile::Symbol& symbol : file->symbols) {
    if (symbol.is_defined || symbol.binding == STB_WEAK) continue;
    // With a handle, only the module and what it needs are searched.
    Demand(dlsym(module.handle(), symbol.name.c_str()) != nullptr,
           symbol.name + " comes from no library that it names: another host may not have it");
  }
}

void LoadsLazily(Subject& subject) {
  void* handle = dlopen(subject.target().module.c_str(), RTLD_LAZY | RTLD_LOCAL);
  Demand(handle != nullptr, "it cannot be loaded with RTLD_LAZY");
  Demand(dlsym(handle, service::kGetServiceModuleInfo) != nullptr, "its entry point is not found");
}

void LoadsGlobally(Subject& subject) {
  void* handle = dlopen(subject.target().module.c_str(), RTLD_NOW | RTLD_GLOBAL);
  Demand(handle != nullptr, "it cannot be loaded with RTLD_GLOBAL");
  Demand(dlsym(RTLD_DEFAULT, service::kGetServiceModuleInfo) != nullptr, "its entry point is not seen");
}

constexpr std::array kChecks{
    Check{kLoads, "the module is loaded with all its symbols", Loads},
    Check{"file.own-symbols", "what it imports comes from libraries that it names", FindsItsSymbolsItself},
    Check{"file.loads-lazily", "it is loaded with symbols bound when they are used", LoadsLazily},
    Check{"file.loads-globally", "it is loaded with its symbols seen by all", LoadsGlobally},
};

}  // namespace

std::span<const Check> LoadChecks() { return kChecks; }

}  // namespace module_check
