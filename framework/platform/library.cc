#include "platform/library.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/text.h"

namespace {

constexpr int kLoadFlags = RTLD_NOW | RTLD_LOCAL;

/// Folder, with a slash at its end, of the library or program that this code is linked into; empty when unknown.
std::string OwnFolder() {
  static constexpr char kAnchor = 0;
  Dl_info info{};
  void* found = nullptr;
  if (dladdr1(&kAnchor, &info, &found, RTLD_DL_LINKMAP) == 0) return {};

  std::string file = static_cast<const link_map*>(found)->l_name;
  if (file.empty()) {
    // The program itself has no name here, and dli_fname repeats what it was started as, which need not be a path.
    std::error_code error;
    file = std::filesystem::read_symlink("/proc/self/exe", error).string();
  }
  return file.substr(0, file.rfind('/') + 1);
}

bool IsBareName(std::string_view path) { return path.find('/') == std::string_view::npos; }

}  // namespace

HMODULE LoadLibraryW(const char16_t* path) {
  // To dlopen an empty name means the program itself.
  if (!path || !*path) return nullptr;
  return dlopen(platform::PathToUtf8(path).c_str(), kLoadFlags);
}

HMODULE LoadLibraryA(const char* path) {
  if (!path || !*path) return nullptr;
  if (IsBareName(path)) {
    if (const std::string folder = OwnFolder(); !folder.empty()) {
      if (HMODULE library = dlopen((folder + path).c_str(), kLoadFlags)) return library;
    }
  }
  return dlopen(path, kLoadFlags);
}

HMODULE GetModuleHandleW(const char16_t* path) {
  if (!path || !*path) return nullptr;
  HMODULE library = dlopen(platform::PathToUtf8(path).c_str(), kLoadFlags | RTLD_NOLOAD);
  // dlopen counts a reference even when it only looks; whoever loaded the library keeps it in place.
  if (library) dlclose(library);
  return library;
}

void* GetProcAddress(HMODULE library, const char* name) {
  // To dlsym a null handle means every library of the process.
  return library && name ? dlsym(library, name) : nullptr;
}

std::string platform::LibraryErrorText() {
  const char* text = dlerror();
  return text ? text : "";
}
