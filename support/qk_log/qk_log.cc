#include <type_traits>

#include "core/log.h"
#include "media_server/imedia_server.h"
#include "platform/export.h"
#include "platform/text.h"

/// Masks `text` in every log line from now on; null is ignored.
extern "C" PLATFORM_EXPORT void SetProtectedPath(const char16_t* text) {
  if (!text) return;
  try {
    CoreLogProtect(platform::ToUtf8(text).c_str());
  } catch (...) {
    // Out of memory: better no more lines than one that shows the text.
    CoreLogSetLevel(kCoreLogOff);
  }
}

static_assert(std::is_same_v<decltype(&SetProtectedPath), media_server::SetProtectedPathFunction>);
