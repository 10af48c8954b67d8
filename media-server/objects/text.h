#pragma once

#include <cstring>
#include <string_view>

#include "platform/com.h"
#include "platform/system_string.h"

namespace media_server {

/// A system string of UTF-8 text, the receiver's to free; null for an empty one and when memory runs out, since the
/// objects' operations may not throw.
BSTR ToSystemString(std::string_view text) noexcept;

/// The same through an out argument.
platform::ComStatus GiveText(std::string_view text, BSTR* out);

/// Whether two keys are the same. The library compares wide texts unit by unit, and the keys begin alike.
inline bool AreSame(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

}  // namespace media_server
