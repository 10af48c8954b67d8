#pragma once

#include <string>
#include <string_view>

namespace platform {

/// Copies `text` to `out`, which has room for as many units. False when it is not ASCII, which nearly all texts are;
/// what was copied means nothing then.
bool CopyAscii(std::string_view text, char16_t* out);

/// Text conversion at the borders between libraries. Total: every sequence that is not valid becomes U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string ToUtf16(std::string_view text);
/// The same text with every invalid sequence replaced by U+FFFD.
std::string ToValidUtf8(std::string_view text);

/// The same for paths, which on most systems are bytes that need not be text: a byte that is not valid UTF-8 becomes a
/// lone low surrogate, U+DC80 to U+DCFF, and that becomes the byte again, so that every file can be named across the
/// border.
std::u16string PathToUtf16(std::string_view path);
std::string PathToUtf8(std::u16string_view path);

}  // namespace platform
