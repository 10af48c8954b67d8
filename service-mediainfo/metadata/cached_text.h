#pragma once

#include <new>
#include <string>

#include "core/error_text.h"
#include "platform/system_string.h"
#include "platform/text.h"

namespace service::mediainfo {

/// A text of the media server, asked for when it is first wanted and kept as UTF-8. An empty answer is not kept: the
/// next call asks again.
class CachedText {
 public:
  /// `ask` returns the media server's answer as a platform::SystemString. Never null; valid until a later call asks
  /// anew. Empty also when memory runs out.
  template <typename Ask>
  const char* Get(Ask ask) {
    if (!text_.empty()) return text_.c_str();
    const platform::SystemString answer = ask();
    if (answer) Convert(answer);
    return text_.c_str();
  }

 private:
  void Convert(const platform::SystemString& answer) {
    try {
      text_ = platform::ToUtf8(answer.View());
    } catch (const std::bad_alloc&) {
      CoreSetErrorText("out of memory");
      text_.clear();
    }
  }

  std::string text_;
};

}  // namespace service::mediainfo
