#include <new>

#include "core/log.h"
#include "media-server/media_server.h"

namespace {

const char* OrEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

// The folders of media information, application and resources are for servers that keep data there; this one keeps
// none.
std::int32_t CreateMediaServer(const char* /*media_info_path*/, const char* media_proxy_path, const char* /*app_path*/,
                               const char* /*app_res_path*/, const char* log_path, media_server::IMediaServer** out) {
  if (out == nullptr) return platform::kInvalidPointer;
  *out = nullptr;
  try {
    if (*OrEmpty(log_path) != '\0') CoreLogSetFolder(log_path);
    *out = media_server::MakeMediaServer({.proxy = OrEmpty(media_proxy_path)}).Detach();
    return platform::kOk;
  } catch (const std::bad_alloc&) {
    return platform::kFail;
  }
}
