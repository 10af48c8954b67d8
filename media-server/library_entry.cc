#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "core/error_text.h"
#include "core/log.h"
#include "media-server/digest/content_digest.h"
#include "media-server/format_list.h"
#include "media-server/media_server.h"
#include "media_server/formats.h"
#include "platform/export.h"

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
    if (*OrEmpty(log_path) != '\0' && !CoreLogSetFolder(log_path)) {
      CoreLogPrint("media server", kCoreLogWarning, "cannot keep a log file in %s", log_path);
    }
    *out = media_server::MakeMediaServer({.proxy = OrEmpty(media_proxy_path)}).Detach();
    return platform::kOk;
  } catch (const std::bad_alloc&) {
    return platform::kFail;
  }
}

bool GetMD5Uuid(const char* path, char* buffer) {
  if (path == nullptr || buffer == nullptr) return false;
  std::string reason;
  try {
    if (const auto digest = media_server::DigestContent(path, &reason)) {
      std::memcpy(buffer, digest->c_str(), digest->size() + 1);
      CoreSetErrorText(nullptr);
      return true;
    }
  } catch (const std::bad_alloc&) {
    reason = "out of memory";
  }
  CoreSetErrorText(reason.c_str());
  return false;
}

extern "C" PLATFORM_EXPORT const char* GetMediaServerFormatList() {
  try {
    static const std::string list = media_server::FormatList();
    return list.c_str();
  } catch (const std::bad_alloc&) {
    return "";
  }
}

static_assert(std::is_same_v<decltype(&GetMediaServerFormatList), media_server::GetFormatListFunction>);
