#include "service-mediainfo/media_info/stream_type_lookup.h"

#include <algorithm>

namespace service::mediainfo::media_info::impl {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kListCharacters = "0123456789,-";
constexpr std::size_t kMaxCountDigits = 3;
constexpr std::size_t kMaxListCharacters = 899;
constexpr std::int64_t kMaxPairs = 128;
constexpr std::size_t kMaxNumberDigits = 15;

/// The characters from `allowed` that follow the first `label`, at most `max`; empty without the label.
std::string_view FieldAfter(std::string_view text, std::string_view label, std::string_view allowed, std::size_t max) {
  const std::size_t at = text.find(label);
  if (at == std::string_view::npos) return {};
  const std::string_view field = text.substr(at + label.size(), max);
  return field.substr(0, std::min(field.find_first_not_of(allowed), field.size()));
}

/// The next text between commas, which is taken off `list`; commas in a row count as one.
std::string_view TakeToken(std::string_view& list) {
  list.remove_prefix(std::min(list.find_first_not_of(','), list.size()));
  const std::string_view token = list.substr(0, std::min(list.find(','), list.size()));
  list.remove_prefix(token.size());
  return token;
}

/// A number of up to kMaxNumberDigits digits, with hyphens anywhere between them; empty for a longer one, 0 for none.
std::optional<std::int64_t> ReadNumber(std::string_view text) {
  std::int64_t number = 0;
  std::size_t digits = 0;
  for (const char character : text) {
    if (character == '-') continue;
    if (++digits > kMaxNumberDigits) return std::nullopt;
    number = number * 10 + (character - '0');
  }
  return number;
}

}  // namespace

std::optional<std::int32_t> FindStreamType(std::string_view text, std::uint32_t stream_id) {
  const std::int64_t count = ReadNumber(FieldAfter(text, "StreamNums:", kDigits, kMaxCountDigits)).value_or(0);
  std::string_view list = FieldAfter(text, "StreamID_Type:", kListCharacters, kMaxListCharacters);
  if (list.empty()) return std::nullopt;
  for (std::int64_t pair = 0; pair < std::min(count, kMaxPairs); ++pair) {
    const std::string_view token = TakeToken(list);
    const std::size_t hyphen = std::min(token.find('-'), token.size());
    const std::optional<std::int64_t> id = ReadNumber(token.substr(0, hyphen));
    const std::optional<std::int64_t> type = ReadNumber(token.substr(hyphen));
    if (id == stream_id && type) return static_cast<std::int32_t>(*type);
  }
  return std::nullopt;
}

}  // namespace service::mediainfo::media_info::impl
