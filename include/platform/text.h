#pragma once

#include <string>
#include <string_view>

namespace platform {

/// Text conversion at the borders between libraries. Total: every sequence that is not valid becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view text);
/// The same text with every invalid sequence replaced by U+FFFD.
std::string ToValidUtf8(std::string_view text);

}  // namespace platform
