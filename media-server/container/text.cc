#include "media-server/container/text.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr char32_t kReplacement = 0xFFFD;

// The upper half of Macintosh Roman, by the table Apple published ("ROMAN.TXT", 2005).
constexpr std::array<char16_t, 128> kMacRoman = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7,
};

// 80 to 9F of Windows-1252, by the table Microsoft published ("CP1252.TXT", 1998), which leaves five of them open.
constexpr std::array<char16_t, 32> kWindows1252 = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

Bytes UpToNul(Bytes bytes) {
  return bytes.first(static_cast<std::size_t>(std::ranges::find(bytes, 0) - bytes.begin()));
}

std::string WithoutPadding(std::string text) {
  const auto last = text.find_last_not_of(" \t\r\n");
  text.resize(last == text.npos ? 0 : last + 1);
  return text;
}

bool IsValidUtf8(Bytes bytes) { return utf8::is_valid(bytes.begin(), bytes.end()); }

/// Without byte order marks in front; broken writers put several there.
std::string FromUtf8(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  while (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  return WithoutPadding(std::string(text));
}

template <typename ToCodePoint>
std::string FromSingleBytes(Bytes bytes, ToCodePoint to_code_point) {
  std::string text;
  for (const std::uint8_t byte : bytes) utf8::append(to_code_point(byte), std::back_inserter(text));
  return WithoutPadding(std::move(text));
}

char32_t FromMacRoman(std::uint8_t byte) { return byte < 0x80 ? byte : kMacRoman[byte - 0x80U]; }
char32_t FromWindows1252(std::uint8_t byte) {
  return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80U] : char32_t{byte};
}

/// Valid UTF-8 with printable characters in place of U+0080 to U+009F: somebody took Windows-1252 for ISO 8859-1.
std::string WithoutUpperControls(const std::string& text) {
  std::string printable;
  for (auto at = text.cbegin(); at != text.cend();) {
    const char32_t code_point = utf8::unchecked::next(at);
    const bool is_control = code_point >= 0x80 && code_point < 0xA0;
    utf8::append(is_control ? kWindows1252[code_point - 0x80U] : code_point, std::back_inserter(printable));
  }
  return printable;
}

/// Whether all that is wrong with the bytes is that their last character is cut: a single letter of another character
/// set at the end looks alike, unless whole characters of UTF-8 stand before it.
bool IsCutUtf8(Bytes bytes, std::size_t valid_size) {
  const Bytes last = bytes.subspan(valid_size);
  const std::size_t whole_size = last[0] >= 0xF0 ? 4 : last[0] >= 0xE0 ? 3 : 2;
  const bool begins_one = last[0] >= 0xC2 && last[0] <= 0xF4 && last.size() < whole_size;
  const auto continues = [](std::uint8_t byte) { return (byte & 0xC0U) == 0x80; };
  return begins_one && std::ranges::all_of(last.subspan(1), continues) &&
         std::ranges::any_of(bytes.first(valid_size), continues);
}

}  // namespace

std::string TextFromUtf8(Bytes bytes) {
  const Bytes content = UpToNul(bytes);
  if (IsValidUtf8(content)) return FromUtf8(AsText(content));
  std::string text;
  utf8::replace_invalid(content.begin(), content.end(), std::back_inserter(text), kReplacement);
  return FromUtf8(text);
}

std::string TextFromUtf16(Bytes bytes, bool big_endian) {
  ByteReader reader(bytes);
  const auto next_unit = [&] { return big_endian ? reader.Be16() : reader.Le16(); };
  std::string text;
  bool at_start = true;
  while (reader.Remaining() >= 2) {
    char32_t code_point = next_unit();
    if (std::exchange(at_start, false)) {
      if (code_point == 0xFEFF) continue;
      if (code_point == 0xFFFE) {
        big_endian = !big_endian;
        continue;
      }
    }
    if (code_point == 0) break;
    const bool high_surrogate = code_point >= 0xD800 && code_point < 0xDC00;
    const bool low_surrogate = code_point >= 0xDC00 && code_point < 0xE000;
    if (high_surrogate) {
      const std::size_t behind = reader.Position();
      const char32_t low = reader.Remaining() >= 2 ? next_unit() : char32_t{0};
      if (low >= 0xDC00 && low < 0xE000) {
        code_point = 0x10000 + ((code_point - 0xD800) << 10) + (low - 0xDC00);
      } else {
        code_point = kReplacement;
        reader = ByteReader(bytes);  // the unit behind a lone surrogate stands for itself
        reader.Skip(behind);
      }
    } else if (low_surrogate) {
      code_point = kReplacement;
    }
    utf8::append(code_point, std::back_inserter(text));
  }
  return WithoutPadding(std::move(text));
}

std::string TextFromUtf8OrMacRoman(Bytes bytes) {
  const Bytes content = UpToNul(bytes);
  if (IsValidUtf8(content)) return FromUtf8(AsText(content));
  return FromSingleBytes(content, FromMacRoman);
}

std::string TextFromUtf8OrWindows1252(Bytes bytes) {
  const Bytes content = UpToNul(bytes);
  const auto valid_size =
      static_cast<std::size_t>(utf8::find_invalid(content.begin(), content.end()) - content.begin());
  if (valid_size == content.size() || IsCutUtf8(content, valid_size)) {
    return WithoutUpperControls(FromUtf8(AsText(content.first(valid_size))));
  }
  return FromSingleBytes(content, FromWindows1252);
}

bool IsPlainUtf8(Bytes bytes) {
  const auto is_control = [](std::uint8_t byte) { return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r'; };
  return IsValidUtf8(bytes) && std::ranges::none_of(bytes, is_control);
}

std::string KeyFromFourCharacters(std::string_view type) {
  std::string key;
  for (const char character : type) {
    const auto byte = static_cast<std::uint8_t>(character);
    utf8::append(char32_t{byte}, std::back_inserter(key));
  }
  return key;
}

}  // namespace media_server
