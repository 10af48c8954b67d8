#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace module_check {

/// What the dynamic loader reads of a shared object, read here without loading it.
struct ElfFile {
  struct Symbol {
    std::string name;
    unsigned char type = 0;     ///< STT_...
    unsigned char binding = 0;  ///< STB_...
    bool is_defined = false;
    bool is_absolute = false;  ///< the name of a version, not of a place
  };

  std::uint16_t machine = 0;
  bool is_program = false;  ///< has the flag of a program that is loaded anywhere
  bool has_stack_flags = false;
  bool has_executable_stack = false;
  bool has_writable_code = false;
  bool has_relro = false;
  bool is_bound_at_once = false;  ///< when it is loaded, not function by function
  bool has_text_relocations = false;
  bool stays_loaded = false;    ///< DF_1_NODELETE
  bool has_static_tls = false;  ///< DF_STATIC_TLS
  std::vector<std::string> needed;
  std::vector<std::string> run_paths;  ///< folders of RUNPATH and RPATH
  std::vector<Symbol> symbols;         ///< dynamic ones, local ones left out
};

/// Nothing, and the reason in `*fault`, when the file cannot be read or is no 64-bit shared object of this byte order.
std::optional<ElfFile> ReadElfFile(const std::string& path, std::string* fault);

}  // namespace module_check
