#include "media-server/objects/text.h"

#include <cstdint>
#include <new>
#include <string>

#include "core/error_text.h"
#include "platform/text.h"

namespace media_server {

BSTR ToSystemString(std::string_view text) noexcept {
  if (text.empty()) return nullptr;
  const auto length = static_cast<std::uint32_t>(text.size());
  const BSTR ascii = SysAllocStringLen(nullptr, length);
  if (!ascii || platform::CopyAscii(text.substr(0, length), ascii)) return ascii;
  SysFreeString(ascii);
  try {
    const std::u16string wide = platform::ToUtf16(text);
    return SysAllocStringLen(wide.data(), static_cast<std::uint32_t>(wide.size()));
  } catch (const std::bad_alloc&) {
    CoreSetErrorText("out of memory");
    return nullptr;
  }
}

platform::ComStatus GiveText(std::string_view text, BSTR* out) {
  if (out == nullptr) return platform::kInvalidPointer;
  *out = ToSystemString(text);
  return platform::kOk;
}

}  // namespace media_server
