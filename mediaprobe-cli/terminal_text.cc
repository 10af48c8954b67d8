#include "terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "platform/text.h"

namespace mediaprobe {
namespace {

constexpr std::size_t kMostUtf8Bytes = 4;
constexpr std::string_view kEllipsis = "...";

struct Range {
  char32_t first;
  char32_t last;
};

/// C0 and DEL with C1, the zero-width marks, line and paragraph separators with the embedding controls, the isolates,
/// and the byte order mark.
constexpr Range kHidden[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x200B, 0x200F},
                             {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};

bool IsHidden(char32_t c) {
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [c](Range range) { return c >= range.first && c <= range.last; });
}

std::string Escaped(char32_t c) {
  if (c == U'\n') return "\\n";
  if (c == U'\r') return "\\r";
  if (c == U'\t') return "\\t";
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), c <= 0xFF ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(c));
  return text.data();
}

std::size_t SequenceLength(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// Reads the character that the valid UTF-8 `sequence` is.
char32_t Decode(std::string_view sequence) {
  constexpr std::array<unsigned, 5> kLeadMask = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t c = static_cast<unsigned char>(sequence[0]) & kLeadMask[sequence.size()];
  for (const char byte : sequence.substr(1)) c = c << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
  return c;
}

}  // namespace

std::string TerminalText(std::string_view text) { return ShortTerminalText(text, text.size()); }

std::string ShortTerminalText(std::string_view text, std::size_t most) {
  // A tag may have megabytes: only what can be shown is looked at, and one character more to see that there is more.
  const std::size_t most_bytes = (most + 1) * kMostUtf8Bytes;
  const std::string valid = platform::ToValidUtf8(text.substr(0, most_bytes));
  std::string shown;
  std::size_t count = 0;
  for (std::size_t at = 0; at < valid.size(); ++count) {
    if (count == most) return shown.append(kEllipsis);
    const std::string_view sequence = std::string_view(valid).substr(at, SequenceLength(valid[at]));
    const char32_t c = Decode(sequence);
    if (IsHidden(c)) {
      shown += Escaped(c);
    } else {
      shown += sequence;
    }
    at += sequence.size();
  }
  return shown;
}

}  // namespace mediaprobe
