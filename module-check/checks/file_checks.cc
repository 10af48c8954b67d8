// What the file itself tells, before anything of it runs.

#include <elf.h>

#include <array>

#include "checks/areas.h"
#include "elf_file.h"
#include "subject.h"

namespace module_check {
namespace {

ElfFile Read(const Subject& subject) {
  std::string fault;
  std::optional<ElfFile> file = ReadElfFile(subject.target().module, &fault);
  Demand(file.has_value(), fault);
  return std::move(*file);
}

/// What the file gives to others; names of versions are no places in it.
bool IsExport(const ElfFile::Symbol& symbol) { return symbol.is_defined && !symbol.is_absolute; }

void IsSharedObject(Subject& subject) {
  const ElfFile file = Read(subject);
  Demand(!file.is_program, "it is a program");
  std::string fault;
  const std::optional<ElfFile> own = ReadElfFile("/proc/self/exe", &fault);
  if (own) DemandEqual(file.machine, own->machine, "the machine it is built for");
}

void ExportsEntry(Subject& subject) {
  for (const ElfFile::Symbol& symbol : Read(subject).symbols) {
    if (symbol.name != service::kGetServiceModuleInfo || !IsExport(symbol)) continue;
    Demand(symbol.type == STT_FUNC || symbol.type == STT_GNU_IFUNC, "it is no function");
    return;
  }
  throw Fault{std::string("it exports no ") + service::kGetServiceModuleInfo};
}

void ExportsNothingElse(Subject& subject) {
  for (const ElfFile::Symbol& symbol : Read(subject).symbols) {
    Demand(!IsExport(symbol) || symbol.name == service::kGetServiceModuleInfo, "it exports " + symbol.name + " too");
  }
}

void HasNoUniqueSymbol(Subject& subject) {
  for (const ElfFile::Symbol& symbol : Read(subject).symbols) {
    Demand(!symbol.is_defined || symbol.binding != STB_GNU_UNIQUE, symbol.name + " is unique in the process");
  }
}

void HasNoExecutableStack(Subject& subject) {
  const ElfFile file = Read(subject);
  Demand(file.has_stack_flags, "it says nothing of the stack, which makes it executable");
  Demand(!file.has_executable_stack, "it asks for an executable stack");
}

void HasNoTextRelocations(Subject& subject) {
  Demand(!Read(subject).has_text_relocations, "its code is changed while it is loaded");
}

void HasNoWritableCode(Subject& subject) {
  Demand(!Read(subject).has_writable_code, "a piece of it is writable and executable");
}

void HasRelro(Subject& subject) {
  const ElfFile file = Read(subject);
  Demand(file.has_relro, "its tables of addresses stay writable (no PT_GNU_RELRO)");
  Demand(file.is_bound_at_once, "its table of functions stays writable (no DF_BIND_NOW)");
}

void HasRelativeRunPaths(Subject& subject) {
  for (const std::string& folder : Read(subject).run_paths) {
    const bool is_relative = folder.starts_with("$ORIGIN") || folder.starts_with("${ORIGIN}");
    Demand(is_relative, "it looks for libraries in \"" + folder + '"');
  }
}

void NeedsBareNames(Subject& subject) {
  for (const std::string& library : Read(subject).needed) {
    Demand(library.find('/') == std::string::npos, "it needs a library by its path: " + library);
  }
}

void CanBeUnloaded(Subject& subject) { Demand(!Read(subject).stays_loaded, "it is marked to stay loaded (NODELETE)"); }

void HasNoStaticTls(Subject& subject) {
  Demand(!Read(subject).has_static_tls, "it takes room that is set apart when the program starts (STATIC_TLS)");
}

constexpr std::array kChecks{
    Check{"file.shared-object", "the file is a shared object for this machine", IsSharedObject},
    Check{"file.entry", "it exports the function GetServiceModuleInfo", ExportsEntry},
    Check{"file.one-export", "it exports no other symbol", ExportsNothingElse},
    Check{"file.no-unique-symbol", "no symbol of it keeps it loaded", HasNoUniqueSymbol},
    Check{"file.stack", "it does not make stacks executable", HasNoExecutableStack},
    Check{"file.text-relocations", "its code has no relocations", HasNoTextRelocations},
    Check{"file.writable-code", "no memory of it is writable and executable", HasNoWritableCode},
    Check{"file.relro", "its tables of addresses are read-only once it is loaded", HasRelro},
    Check{"file.run-path", "it looks for libraries relative to itself only", HasRelativeRunPaths},
    Check{"file.needed", "it needs libraries by name, not by path", NeedsBareNames},
    Check{"file.unloadable", "it may be unloaded", CanBeUnloaded},
    Check{"file.thread-storage", "its thread-local storage is found at any time of loading", HasNoStaticTls},
};

}  // namespace

std::span<const Check> FileChecks() { return kChecks; }

}  // namespace module_check
