#include "output/terminal_text.h"

#include <array>
#include <cstdio>

#include "output/display_width.h"
#include "output/utf8_character.h"
#include "platform/hidden_text.h"
#include "platform/text.h"

namespace mediaprobe {
namespace {

// Room for a character outside the first plane with marks on it.
constexpr std::size_t kMostBytesPerColumn = 16;
constexpr std::string_view kEllipsis = "...";

std::string Escaped(char32_t c) {
  if (c == U'\n') return "\\n";
  if (c == U'\r') return "\\r";
  if (c == U'\t') return "\\t";
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), c <= 0xFF ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(c));
  return text.data();
}

}  // namespace

std::string TerminalText(std::string_view text) {
  const std::string valid = platform::ToValidUtf8(text);
  std::string shown;
  for (std::size_t at = 0; at < valid.size();) {
    const Utf8Character next = FirstCharacter(std::string_view(valid).substr(at));
    if (platform::IsHidden(next.code)) {
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
