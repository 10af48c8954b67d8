#pragma once

#include <new>
#include <string>

#include "core/error_text.h"
#include "platform/com.h"
#include "platform/system_string.h"
#include "platform/text.h"

namespace media_server {

/// A system string of UTF-8 text, the receiver's to free; null for an empty one and when memory runs out, since the
/// objects' operations may not throw.
inline BSTR ToSystemString(const std::string& text) noexcept {
  if (text.empty()) return nullptr;
  try {
    const std::u16string wide = platform::ToUtf16(text);
    return SysAllocStringLen(wide.data(), static_cast<std::uint32_t>(wide.size()));
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return nullptr;
  }
}

/// The same through an out argument.
inline platform::ComStatus GiveText(const std::string& text, BSTR* out) {
  if (out == nullptr) return platform::kInvalidPointer;
  *out = ToSystemString(text);
  return platform::kOk;
}

}  // namespace media_server
