#include "service-mediainfo/support_libraries.h"

#include <ghc/filesystem.hpp>

#include "platform/library.h"
#include "platform/text.h"

namespace service::mediainfo {
namespace {

SupportLibraries loaded;

template <typename Function>
void FindOnce(const char* folder, const char* library_name, const char* function_name, Function& function) {
  if (function != nullptr) return;
  ghc::filesystem::path path(folder);
  path.make_preferred();
  path /= library_name;
  // The path's own wide form loses bytes that are no text.
  const std::u16string wide_path = platform::PathToUtf16(path.string());
  HMODULE library = GetModuleHandleW(wide_path.c_str());
  if (library == nullptr) library = LoadLibraryW(wide_path.c_str());
  if (library == nullptr) return;
  function = reinterpret_cast<Function>(GetProcAddress(library, function_name));
}

}  // namespace

const SupportLibraries& support_libraries() { return loaded; }

void load_support_libraries(const char* folder) {
  FindOnce(folder, "COMSupport.dll", "QKCreateInstance", loaded.create_instance);
  FindOnce(folder, "QK_log.dll", "SetProtectedPath", loaded.set_protected_path);
}

}  // namespace service::mediainfo
