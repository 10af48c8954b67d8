#include "service-mediainfo/metadata/date_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <span>
#include <string_view>
#include <system_error>

namespace service::mediainfo {
namespace {

/// Year, month, day, hour, minute and second as the text has them, one date after the other; 0 for what it lacks.
struct Fields {
  static constexpr std::size_t kOfOneDate = 6;

  std::size_t found = 0;
  std::array<int, 2 * kOfOneDate> values{};
};

/// What stands behind each field but the last.
constexpr std::string_view kSeparators = ":::::,:::::";

/// As the C library's "%d": blanks and a sign may stand before the number, and the lowest bits are taken of one that is
/// too large. The number's end; null where there is none.
const char* ReadNumber(std::string_view text, int& value) {
  // Nearly all numbers are digits alone, for which strtol takes five times as long.
  if (const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value); error == std::errc())
    return end;
  char* end = nullptr;
  const long number = std::strtol(text.data(), &end, 10);
  if (end == text.data()) return nullptr;
  value = static_cast<int>(number);
  return end;
}

/// Reads as the C library's "%d:%d:%d:%d:%d:%d,%d:%d:%d:%d:%d:%d" does.
Fields ReadFields(const char* text) {
  Fields fields;
  std::string_view rest(text);
  for (int& value : fields.values) {
    const char* const end = ReadNumber(rest, value);
    if (end == nullptr) break;
    if (++fields.found > kSeparators.size() || *end != kSeparators[fields.found - 1]) break;
    rest.remove_prefix(static_cast<std::size_t>(end + 1 - rest.data()));
  }
  return fields;
}

/// Wraps around: the text may hold any number.
int Subtract(int value, unsigned amount) { return static_cast<int>(static_cast<unsigned>(value) - amount); }

std::int64_t ToSeconds(std::span<const int, Fields::kOfOneDate> date) {
  // A zeroed record says "no daylight saving" (tm_isdst 0), also in summer.
  std::tm record{};
  record.tm_year = Subtract(date[0], 1900);
  record.tm_mon = Subtract(date[1], 1);
  record.tm_mday = date[2];
  record.tm_hour = date[3];
  record.tm_min = date[4];
  record.tm_sec = date[5];
  return std::mktime(&record);
}

FileDates ToDates(const Fields& fields) {
  const auto creation = std::span(fields.values).first<Fields::kOfOneDate>();
  const auto modification = std::span(fields.values).last<Fields::kOfOneDate>();
  const std::int64_t seconds = ToSeconds(creation);
  // Most files have not been modified, and mktime looks after the zone's file each time.
  return {seconds, std::ranges::equal(creation, modification) ? seconds : ToSeconds(modification)};
}

}  // namespace

std::optional<FileDates> ReadDates(const char* text) {
  const Fields fields = ReadFields(text);
  if (fields.found < Fields::kOfOneDate) return std::nullopt;
  FileDates dates = ToDates(fields);
  if (fields.found < fields.values.size()) dates.modification = dates.creation;
  return dates;
}

FileDates ReadDatesAsTheyCome(const char* text) { return ToDates(ReadFields(text)); }

}  // namespace service::mediainfo
