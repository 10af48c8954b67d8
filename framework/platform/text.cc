#include "platform/text.h"

#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace platform {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The code point at `text[index]`, moving `index` past it; kReplacement for a surrogate without its partner.
std::uint32_t NextCodePoint(std::u16string_view text, std::size_t& index) {
  const char16_t unit = text[index++];
  if (IsHighSurrogate(unit) && index < text.size() && IsLowSurrogate(text[index])) {
    return 0x10000 + ((unit - 0xD800U) << 10) + (text[index++] - 0xDC00U);
  }
  return IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : unit;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  // utf8cpp's own conversion throws at a lone surrogate, and file names do contain them.
  for (std::size_t index = 0; index < text.size();) {
    utf8::unchecked::append(NextCodePoint(text, index), std::back_inserter(utf8));
  }
  return utf8;
}

std::u16string ToUtf16(std::string_view text) {
  const std::string valid = ToValidUtf8(text);
  std::u16string utf16;
  utf16.reserve(valid.size());
  utf8::unchecked::utf8to16(valid.begin(), valid.end(), std::back_inserter(utf16));
  return utf16;
}

std::string ToValidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid), kReplacement);
  return valid;
}

}  // namespace platform
