#include "media-server/container/xml_start.h"

#include <algorithm>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBlanks = " \t\r\n";

void SkipBlanks(std::string_view& text) { text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size())); }

/// Moves behind the next `end`; to the end of the text, and false, when there is none.
bool SkipBehind(std::string_view& text, std::string_view end) {
  const auto at = text.find(end);
  text.remove_prefix(at == text.npos ? text.size() : at + end.size());
  return at != text.npos;
}

/// A name up to what ends it; empty when the text ends first.
std::string_view TakeName(std::string_view& text) {
  const auto end = text.find_first_of(" \t\r\n/>["sv);
  if (end == text.npos) return {};
  const std::string_view name = text.substr(0, end);
  text.remove_prefix(end);
  return name;
}

/// Skips what stands between the name of a document type declaration and its end: identifiers and declarations, whose
/// literals and comments may hold any sign. False when the text ends first.
bool SkipDocumentType(std::string_view& text) {
  bool is_in_subset = false;
  while (!text.empty()) {
    const char sign = text.front();
    if (text.starts_with("<!--")) {
      if (!SkipBehind(text, "-->")) return false;
      continue;
    }
    if (text.starts_with("<?")) {
      if (!SkipBehind(text, "?>")) return false;
      continue;
    }
    text.remove_prefix(1);
    if (sign == '"' && !SkipBehind(text, "\"")) return false;
    if (sign == '\'' && !SkipBehind(text, "'")) return false;
    if (sign == '[') is_in_subset = true;
    if (sign == ']') is_in_subset = false;
    if (sign == '>' && !is_in_subset) return true;
  }
  return false;
}

}  // namespace

XmlStart ReadXmlStart(std::string_view text) {
  constexpr std::string_view kDocumentType = "<!DOCTYPE";
  constexpr std::string_view kComment = "<!--";
  XmlStart start;
  while (true) {
    SkipBlanks(text);
    if (text.empty() || kDocumentType.starts_with(text) || kComment.starts_with(text)) return start;
    if (text.starts_with("<?")) {
      start.has_declaration = start.has_declaration || text.starts_with("<?xml");
      if (!SkipBehind(text, "?>")) return start;
    } else if (text.starts_with(kComment)) {
      text.remove_prefix(kComment.size());
      if (!SkipBehind(text, "-->")) return start;
    } else if (text.starts_with(kDocumentType)) {
      text.remove_prefix(kDocumentType.size());
      SkipBlanks(text);
      start.document_type = TakeName(text);
      if (!SkipDocumentType(text)) return start;
    } else {
      break;
    }
  }
  start.is_decided = true;
  if (!text.starts_with('<') || text.starts_with("<!")) return start;
  text.remove_prefix(1);
  const std::string_view name = TakeName(text);
  start.is_decided = !name.empty() || text.find_first_of(" \t\r\n/>["sv) == 0;
  start.root = name.substr(name.find(':') + 1);
  return start;
}

std::string NarrowXml(std::span<const std::uint8_t> bytes) {
  const std::string_view text = AsText(bytes);
  const bool is_little_endian = text.starts_with("\xff\xfe"sv) || text.starts_with("<\0"sv);
  const bool is_big_endian = text.starts_with("\xfe\xff"sv) || text.starts_with("\0<"sv);
  if (!is_little_endian && !is_big_endian) {
    return std::string(text.substr(text.starts_with("\xef\xbb\xbf"sv) ? 3 : 0));
  }
  constexpr std::uint16_t kByteOrderMark = 0xFEFF;
  constexpr std::uint16_t kLastAscii = 0x7F;
  std::string narrow;
  narrow.reserve(bytes.size() / 2);
  ByteReader reader(bytes);
  while (reader.Remaining() >= 2) {
    const std::uint16_t unit = is_little_endian ? reader.Le16() : reader.Be16();
    if (unit == kByteOrderMark && narrow.empty()) continue;
    narrow += unit <= kLastAscii ? static_cast<char>(unit) : '?';
  }
  return narrow;
}

}  // namespace media_server
