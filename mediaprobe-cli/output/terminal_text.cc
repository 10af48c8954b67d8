#include "output/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "output/display_width.h"
#include "output/utf8_character.h"
#include "platform/text.h"

namespace mediaprobe {
namespace {

// Room for a character outside the first plane with marks on it.
constexpr std::size_t kMostBytesPerColumn = 16;
constexpr std::string_view kEllipsis = "...";

struct Range {
  char32_t first;
  char32_t last;
};

/// C0 and DEL with C1, the marks of direction, the zero-width space, line and paragraph separators with the embedding
/// controls, the isolates, and the byte order mark.
constexpr Range kHidden[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200B, 0x200B},
                             {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};

std::string Escaped(char32_t c) {
  if (c == U'\n') return "\\n";
  if (c == U'\r') return "\\r";
  if (c == U'\t') return "\\t";
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), c <= 0xFF ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(c));
  return text.data();
}

}  // namespace

bool IsHidden(char32_t c) {
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [c](Range range) { return c >= range.first && c <= range.last; });
}

std::string TerminalText(std::string_view text) {
  const std::string valid = platform::ToValidUtf8(text);
  std::string shown;
  for (std::size_t at = 0; at < valid.size();) {
    const Utf8Character next = FirstCharacter(std::string_view(valid).substr(at));
    if (IsHidden(next.code)) {
      shown += Escaped(next.code);
    } else {
      shown.append(valid, at, next.size);
    }
    at += next.size;
  }
  return shown;
}

std::string ShortTerminalText(std::string_view text, std::size_t most_columns) {
  // A tag may have megabytes: only what can be shown is looked at.
  const std::string_view start = text.substr(0, (most_columns + 1) * kMostBytesPerColumn);
  std::string shown = TerminalText(start);
  const std::size_t fitting = FittingBytes(shown, most_columns);
  if (start.size() == text.size() && fitting == shown.size()) return shown;
  shown.resize(fitting);
  return shown.append(kEllipsis);
}

}  // namespace mediaprobe
