#include "platform/text.h"

#include <utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace platform {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

/// A byte of a path that is no text is added to this.
constexpr char16_t kEscapedByte = 0xDC00;

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

/// Units before the first one that is not ASCII. Nearly all texts are nothing else, and ASCII is the same in every
/// encoding.
template <typename Unit>
std::size_t AsciiLength(std::basic_string_view<Unit> text) {
  const auto end = std::ranges::find_if(text, [](Unit unit) { return static_cast<char32_t>(unit) >= 0x80; });
  return static_cast<std::size_t>(end - text.begin());
}

/// `text` up to `ascii_length` in another encoding, with room for the rest of it.
template <typename To, typename From>
std::basic_string<To> CopyAscii(std::basic_string_view<From> text, std::size_t ascii_length) {
  std::basic_string<To> copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii_length));
  copy.reserve(text.size());
  return copy;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  std::size_t index = AsciiLength(text);
  std::string utf8 = CopyAscii<char>(text, index);
  // utf8cpp's own conversion throws at a lone surrogate, and file names do contain them.
  while (index < text.size()) {
    utf8::unchecked::append(NextCodePoint(text, index), std::back_inserter(utf8));
  }
  return utf8;
}

std::u16string ToUtf16(std::string_view text) {
  const std::size_t ascii_length = AsciiLength(text);
  std::u16string utf16 = CopyAscii<char16_t>(text, ascii_length);
  if (ascii_length == text.size()) return utf16;
  const std::string valid = ToValidUtf8(text.substr(ascii_length));
  utf8::unchecked::utf8to16(valid.begin(), valid.end(), std::back_inserter(utf16));
  return utf16;
}

std::u16string PathToUtf16(std::string_view path) {
  const std::size_t ascii_length = AsciiLength(path);
  std::u16string utf16 = CopyAscii<char16_t>(path, ascii_length);
  for (auto begin = path.begin() + static_cast<std::ptrdiff_t>(ascii_length); begin != path.end();) {
    const auto invalid = utf8::find_invalid(begin, path.end());
    utf8::unchecked::utf8to16(begin, invalid, std::back_inserter(utf16));
    if (invalid == path.end()) break;
    utf16.push_back(static_cast<char16_t>(kEscapedByte + static_cast<unsigned char>(*invalid)));
    begin = std::next(invalid);
  }
  return utf16;
}

std::string PathToUtf8(std::u16string_view path) {
  std::size_t index = AsciiLength(path);
  std::string utf8 = CopyAscii<char>(path, index);
  while (index < path.size()) {
    const char16_t unit = path[index];
    const std::uint32_t code_point = NextCodePoint(path, index);
    if (code_point == kReplacement && unit >= kEscapedByte + 0x80 && unit <= kEscapedByte + 0xFF) {
      utf8.push_back(static_cast<char>(unit - kEscapedByte));
    } else {
      utf8::unchecked::append(code_point, std::back_inserter(utf8));
    }
  }
  return utf8;
}

std::string ToValidUtf8(std::string_view text) {
  const std::size_t ascii_length = AsciiLength(text);
  std::string valid = CopyAscii<char>(text, ascii_length);
  text.remove_prefix(ascii_length);
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid), kReplacement);
  return valid;
}

}  // namespace platform
