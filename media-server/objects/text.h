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

/// Whether `wanted` is `key`, which is not empty. Keys begin alike and end differently; all of them is compared with
/// memcmp, since the library compares wide texts unit by unit.
inline bool IsKey(std::u16string_view wanted, std::u16string_view key) {
  return wanted.size() == key.size() && wanted.back() == key.back() &&
         std::memcmp(wanted.data(), key.data(), key.size() * sizeof(char16_t)) == 0;
}

}  // namespace media_server
