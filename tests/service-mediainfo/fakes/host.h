#pragma once

#include <functional>
#include <string>
#include <vector>

#include "media_server/imedia_server.h"

/// What the module's environment does for it: the functions that it imports, scripted.
namespace fakes {

struct Host {
  /// Status and object of CreateMediaServer, and the settings of its calls.
  media_server::IMediaServer* server = nullptr;
  std::int32_t server_status = 0;
  std::vector<std::vector<std::string>> server_settings;

  /// Names of the support libraries loaded, in order.
  std::vector<std::string> loaded_libraries;
  /// Behind QKCreateInstance; fails when empty.
  media_server::QkCreateInstanceFunction create_instance = nullptr;
  std::vector<std::u16string> protected_texts;

  /// Behind GetMD5Uuid, called from any thread; fails when empty.
  std::function<bool(const std::string& path, char* buffer)> digest;
};

/// The one that the imported functions use.
Host& host();

}  // namespace fakes

extern "C" {
/// What the fake support libraries call.
PLATFORM_EXPORT void FakeLibraryLoaded(const char* name);
PLATFORM_EXPORT std::int32_t FakeCreateInstance(const platform::Guid& class_id, void* outer, std::uint32_t context,
                                                const platform::Guid& interface_id, void** out);
PLATFORM_EXPORT void FakeSetProtectedPath(const char16_t* text);
}
