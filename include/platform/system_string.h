#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
// Behind it, which it builds on.
#include <oleauto.h>
static_assert(sizeof(wchar_t) == sizeof(char16_t));
#else

#include "platform/export.h"

/// A length-prefixed, NUL-terminated UTF-16 string that travels between libraries: the four bytes before the first unit
/// hold the length in bytes. Null stands for the empty string.
using BSTR = char16_t*;

#if defined(CORE_LIBRARY)
#define PLATFORM_STRING_API PLATFORM_EXPORT
#else
#define PLATFORM_STRING_API PLATFORM_IMPORT
#endif

extern "C" {
/// A copy of `text`; null for null and when memory runs out. The receiver frees it with SysFreeString.
PLATFORM_STRING_API BSTR SysAllocString(const char16_t* text);
/// A string of `length` units, copied from `text`, or zeroed when `text` is null; null when memory runs out.
PLATFORM_STRING_API BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length);
/// Length in units without the terminator; 0 for null.
PLATFORM_STRING_API std::uint32_t SysStringLen(BSTR text);
/// Null is ignored.
PLATFORM_STRING_API void SysFreeString(BSTR text);
}
#endif

namespace platform {

/// Owner of one BSTR.
class SystemString {
 public:
  SystemString() = default;
  /// Takes over `text`.
  explicit SystemString(BSTR text) : text_(text) {}
  SystemString(SystemString&& other) noexcept : text_(other.Detach()) {}
  SystemString& operator=(SystemString&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  ~SystemString() { SysFreeString(text_); }

  /// For out arguments; what was held is freed first.
  BSTR* Put() {
    SysFreeString(Detach());
    return &text_;
  }
  /// Gives the string up to the caller.
  BSTR Detach() { return std::exchange(text_, nullptr); }

  /// The text up to its length prefix; empty for null.
  std::u16string_view View() const { return {reinterpret_cast<const char16_t*>(text_), SysStringLen(text_)}; }
  explicit operator bool() const { return text_ != nullptr; }

 private:
  BSTR text_ = nullptr;
};

}  // namespace platform
