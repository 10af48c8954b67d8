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

/// Copies what is the same in every encoding. False when `text` is not all ASCII: then `out` holds nothing of use. Goes
/// to the end in any case, so that the compiler takes several units at once.
template <typename From, typename To>
bool CopyIfAscii(std::basic_string_view<From> text, To* out) {
  From bits = 0;
  for (std::size_t index = 0; index < text.size(); ++index) {
    bits = static_cast<From>(bits | text[index]);
    out[index] = static_cast<To>(text[index]);
  }
  return static_cast<char32_t>(bits) < 0x80;
}

}  // namespace

bool CopyAscii(std::string_view text, char16_t* out) { return CopyIfAscii(text, out); }

std::string ToUtf8(std::u16string_view text) {
  std::string utf8(text.size(), '\0');
  if (CopyIfAscii(text, utf8.data())) return utf8;
  utf8.clear();
  // utf8cpp's own conversion throws at a lone surrogate, and file names do contain them.
  for (std::size_t index = 0; index < text.size();) {
    utf8::unchecked::append(NextCodePoint(text, index), std::back_inserter(utf8));
  }
  return utf8;
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string utf16(text.size(), u'\0');
  if (CopyIfAscii(text, utf16.data())) return utf16;
  utf16.clear();
  const std::string valid = ToValidUtf8(text);
  utf8::unchecked::utf8to16(valid.begin(), valid.end(), std::back_inserter(utf16));
  return utf16;
}

std::u16string PathToUtf16(std::string_view path) {
  std::u16string utf16(path.size(), u'\0');
  if (CopyIfAscii(path, utf16.data())) return utf16;
  utf16.clear();
  for (const auto* begin = path.begin(); begin != path.end();) {
    const auto* const invalid = utf8::find_invalid(begin, path.end());
    utf8::unchecked::utf8to16(begin, invalid, std::back_inserter(utf16));
    if (invalid == path.end()) break;
    utf16.push_back(static_cast<char16_t>(kEscapedByte + static_cast<unsigned char>(*invalid)));
    begin = std::next(invalid);
  }
  return utf16;
}

std::string PathToUtf8(std::u16string_view path) {
  std::string utf8(path.size(), '\0');
  if (CopyIfAscii(path, utf8.data())) return utf8;
  utf8.clear();
  for (std::size_t index = 0; index < path.size();) {
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
  std::string valid(text.size(), '\0');
  if (CopyIfAscii(text, valid.data())) return valid;
  valid.clear();
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(valid), kReplacement);
  return valid;
}

}  // namespace platform
