#include "fakes/host.h"

namespace fakes {

Host& host() {
  static Host host;
  return host;
}

}  // namespace fakes

// Stands in front of the media server library's.
std::int32_t CreateMediaServer(const char* media_info_path, const char* media_proxy_path, const char* app_path,
                               const char* app_res_path, const char* log_path, media_server::IMediaServer** out) {
  fakes::host().server_settings.push_back({media_info_path, media_proxy_path, app_path, app_res_path, log_path});
  *out = fakes::host().server;
  if (*out != nullptr) (*out)->AddRef();
  return fakes::host().server_status;
}

// Likewise.
bool GetMD5Uuid(const char* path, char* buffer) {
  const auto& digest = fakes::host().digest;
  return digest && digest(path, buffer);
}

void FakeLibraryLoaded(const char* name) { fakes::host().loaded_libraries.emplace_back(name); }

std::int32_t FakeCreateInstance(const platform::Guid& class_id, void* outer, std::uint32_t context,
                                const platform::Guid& interface_id, void** out) {
  const media_server::QkCreateInstanceFunction create_instance = fakes::host().create_instance;
  return create_instance ? create_instance(class_id, outer, context, interface_id, out) : platform::kClassNotRegistered;
}

void FakeSetProtectedPath(const char16_t* text) { fakes::host().protected_texts.emplace_back(text); }
