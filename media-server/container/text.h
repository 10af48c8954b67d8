#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace media_server {

// Texts of containers as UTF-8. What cannot be read becomes U+FFFD; a text ends at its first NUL, as its readers take
// it for a C string; white space and NULs at the end are padding and go.

/// Bytes that claim to be UTF-8.
std::string TextFromUtf8(std::span<const std::uint8_t> bytes);

/// UTF-16 without a byte order mark in the given order, or with one that overrides it. An odd last byte is dropped.
std::string TextFromUtf16(std::span<const std::uint8_t> bytes, bool big_endian);

/// UTF-8 where the bytes are valid UTF-8, the Macintosh Roman character set otherwise: QuickTime's rule names the
/// latter, most writers use the former.
std::string TextFromUtf8OrMacRoman(std::span<const std::uint8_t> bytes);

/// UTF-8 where the bytes are valid UTF-8, also where a field's end cuts its last character, which goes then;
/// Windows-1252 otherwise: ISO 8859-1 with printable characters at 80 to 9F, where that has control characters that no
/// text means; in UTF-8 the same stand for these. For formats that never said which, or say ISO 8859-1 and are not
/// heeded, whoever made UTF-8 of it.
std::string TextFromUtf8OrWindows1252(std::span<const std::uint8_t> bytes);

/// Whether the bytes are valid UTF-8 without control characters other than tab and line ends.
bool IsPlainUtf8(std::span<const std::uint8_t> bytes);

/// Four characters as a key, one code point a byte, so that 0xA9 is "©".
std::string KeyFromFourCharacters(std::string_view type);

}  // namespace media_server
