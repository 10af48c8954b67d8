#include "line_filter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "platform/hidden_text.h"
#include "platform/text.h"

namespace core {
namespace {

constexpr std::string_view kMask = "***";
constexpr char kHexDigits[] = "0123456789ABCDEF";

struct Range {
  std::size_t begin;
  std::size_t end;
};

std::vector<Range> FindAll(std::string_view line, std::span<const std::string> texts) {
  std::vector<Range> found;
  for (const std::string& text : texts) {
    // On by one byte, not by the whole text: the text may overlap itself.
    for (std::size_t at = line.find(text); at != std::string_view::npos; at = line.find(text, at + 1)) {
      found.push_back({at, at + text.size()});
    }
  }
  std::ranges::sort(found, {}, &Range::begin);
  return found;
}

struct NamedEscape {
  unsigned char code;
  char letter;
};
constexpr std::array<NamedEscape, 3> kNamedEscapes{{{'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}}};

void AppendHex(std::string& line, unsigned char byte) {
  line += kHexDigits[byte >> 4];
  line += kHexDigits[byte & 0xF];
}

void AppendEscaped(std::string& line, unsigned char control) {
  line += '\\';
  const auto* named = std::ranges::find(kNamedEscapes, control, &NamedEscape::code);
  if (named != kNamedEscapes.end()) {
    line += named->letter;
    return;
  }
  line += 'x';
  AppendHex(line, control);
}

constexpr bool IsAsciiControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

/// Of the character of two or three bytes that valid UTF-8 starts with; a blank for another one.
char32_t CodeOf(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  if ((byte(0) & 0xE0U) == 0xC0U) return (byte(0) & 0x1FU) << 6 | (byte(1) & 0x3FU);
  if ((byte(0) & 0xF0U) == 0xE0U) return (byte(0) & 0xFU) << 12 | (byte(1) & 0x3FU) << 6 | (byte(2) & 0x3FU);
  return U' ';
}

}  // namespace

std::string MaskTexts(std::string_view line, std::span<const std::string> texts) {
  const std::vector<Range> found = FindAll(line, texts);
  std::string masked;
  masked.reserve(line.size());
  std::size_t done = 0;
  for (std::size_t index = 0; index < found.size();) {
    const std::size_t begin = found[index].begin;
    std::size_t end = found[index].end;
    for (++index; index < found.size() && found[index].begin < end; ++index) end = std::max(end, found[index].end);
    masked.append(line.substr(done, begin - done)).append(kMask);
    done = end;
  }
  return masked.append(line.substr(done));
}

std::string OneLine(std::string_view text) {
  const std::string valid = platform::ToValidUtf8(text);
  std::string line;
  line.reserve(valid.size());
  for (std::size_t index = 0; index < valid.size(); ++index) {
    const auto byte = static_cast<unsigned char>(valid[index]);
    if (IsAsciiControl(byte)) {
      AppendEscaped(line, byte);
    } else if (const char32_t code = CodeOf(std::string_view(valid).substr(index)); platform::IsHidden(code)) {
      line += "\\u";
      AppendHex(line, static_cast<unsigned char>(code >> 8));
      AppendHex(line, static_cast<unsigned char>(code & 0xFF));
      index += code < 0x800 ? 1 : 2;
    } else {
      line += valid[index];
    }
  }
  return line;
}

}  // namespace core
