#include "probe/picture_sequence.h"

namespace mediaprobe {
namespace {

constexpr std::string_view kDigits = "0123456789";

/// The parts of a path around the last "[" and "]" of its name.
struct Parts {
  std::string_view prefix;
  std::string_view numbers;
  std::string_view suffix;
};

bool IsNumber(std::string_view text) { return !text.empty() && text.find_first_not_of(kDigits) == text.npos; }

bool IsRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  return IsNumber(text.substr(0, dash)) && (dash == text.npos || IsNumber(text.substr(dash + 1)));
}

bool AreRanges(std::string_view text) {
  for (std::size_t comma = text.find(','); comma != text.npos; comma = text.find(',')) {
    if (!IsRange(text.substr(0, comma))) return false;
    text.remove_prefix(comma + 1);
  }
  return IsRange(text);
}

std::optional<Parts> Split(std::string_view path) {
  const std::size_t open = path.rfind('[');
  const std::size_t close = path.rfind(']');
  const std::size_t slash = path.rfind('/');
  if (open == path.npos || close == path.npos || close < open || (slash != path.npos && slash > open)) return {};
  const Parts parts{path.substr(0, open), path.substr(open + 1, close - open - 1), path.substr(close + 1)};
  return AreRanges(parts.numbers) ? std::optional(parts) : std::nullopt;
}

}  // namespace

bool IsSequencePattern(std::string_view path) { return Split(path).has_value(); }

std::string FirstFrame(std::string_view path) {
  const std::optional<Parts> parts = Split(path);
  if (!parts) return std::string(path);
  std::string frame(parts->prefix);
  frame += parts->numbers.substr(0, parts->numbers.find_first_of("-,"));
  return frame += parts->suffix;
}

bool HasSeveralRanges(std::string_view path) {
  const std::optional<Parts> parts = Split(path);
  return parts && parts->numbers.find(',') != std::string_view::npos;
}

}  // namespace mediaprobe
