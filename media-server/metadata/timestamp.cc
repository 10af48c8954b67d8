#include "media-server/metadata/timestamp.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace media_server {
namespace {

/// Takes `digits` decimal digits off the front; empty when there are fewer.
std::optional<int> TakeNumber(std::string_view& text, std::size_t digits) {
  int value = 0;
  if (text.size() < digits) return std::nullopt;
  const auto [end, error] = std::from_chars(text.data(), text.data() + digits, value);
  if (error != std::errc() || end != text.data() + digits || value < 0) return std::nullopt;
  text.remove_prefix(digits);
  return value;
}

bool TakeOneOf(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text[0]) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

void SkipBlanks(std::string_view& text) {
  while (TakeOneOf(text, " ")) {
  }
}

void SkipFraction(std::string_view& text) {
  if (!TakeOneOf(text, ".,")) return;
  while (TakeOneOf(text, "0123456789")) {
  }
}

/// Zones that mail has names for (RFC 822, 5.1).
struct NamedZone {
  std::string_view name;
  int hours_east;
};
constexpr NamedZone kNamedZones[] = {{"Z", 0},    {"z", 0},    {"UT", 0},   {"UTC", 0},  {"GMT", 0},
                                     {"EST", -5}, {"EDT", -4}, {"CST", -6}, {"CDT", -5}, {"MST", -7},
                                     {"MDT", -6}, {"PST", -8}, {"PDT", -7}};

/// Seconds east of UTC; empty for a text that is malformed.
std::optional<int> ParseZone(std::string_view text) {
  const auto* named = std::ranges::find(kNamedZones, text, &NamedZone::name);
  if (named != std::end(kNamedZones)) return named->hours_east * 3600;
  const bool west = text.starts_with('-');
  if (!TakeOneOf(text, "+-")) return std::nullopt;
  const auto hours = TakeNumber(text, 2);
  TakeOneOf(text, ":");
  const auto minutes = text.empty() ? std::optional(0) : TakeNumber(text, 2);
  if (!hours || !minutes || !text.empty() || *hours > 23 || *minutes > 59) return std::nullopt;
  const int offset = *hours * 3600 + *minutes * 60;
  return west ? -offset : offset;
}

/// What a text says, field by field.
struct Reading {
  std::tm clock{};          // daylight saving unknown
  std::string_view zone{};  // what stands behind the time of day; empty for none
};

std::optional<Reading> ReadClock(std::string_view text, bool needs_seconds) {
  struct Field {
    std::size_t digits;
    std::string_view separators;  // before the field
  };
  constexpr std::array<Field, 6> kFields = {{{4, ""}, {2, "-:/"}, {2, "-:/"}, {2, "T "}, {2, ":"}, {2, ":"}}};
  std::array<int, kFields.size()> numbers{};
  for (std::size_t i = 0; i < kFields.size(); ++i) {
    if (i > 0 && !TakeOneOf(text, kFields[i].separators)) {
      if (i == kFields.size() - 1 && !needs_seconds) break;
      return std::nullopt;
    }
    const auto number = TakeNumber(text, kFields[i].digits);
    if (!number) return std::nullopt;
    numbers[i] = *number;
  }
  SkipFraction(text);
  SkipBlanks(text);
  const auto [year, month, day, hour, minute, second] = numbers;
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
  Reading reading{.zone = text};
  reading.clock = {.tm_sec = second,
                   .tm_min = minute,
                   .tm_hour = hour,
                   .tm_mday = day,
                   .tm_mon = month - 1,
                   .tm_year = year - 1900,
                   .tm_isdst = -1};
  return reading;
}

/// "Tue, 04 Sep 2018 10:11:12 +0200", with or without the day of the week, written as in ISO 8601; empty for anything
/// else.
std::string IsoTextOfMailDate(std::string_view text) {
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  if (const auto comma = text.find(','); comma != text.npos) text.remove_prefix(comma + 1);
  SkipBlanks(text);
  auto day = TakeNumber(text, 2);
  if (!day) day = TakeNumber(text, 1);
  SkipBlanks(text);
  const auto month = kMonths.find(text.substr(0, 3));
  if (!day || text.size() < 3 || month == kMonths.npos || month % 3 != 0) return {};
  text.remove_prefix(3);
  SkipBlanks(text);
  const auto year = TakeNumber(text, 4);
  if (!year) return {};
  char date[32];
  std::snprintf(date, sizeof date, "%04d-%02d-%02d", *year, static_cast<int>(month / 3) + 1, *day);
  return date + std::string(text);
}

std::optional<std::int64_t> InZone(Reading& reading) {
  const auto offset = ParseZone(reading.zone);
  if (!offset) return std::nullopt;
  return timegm(&reading.clock) - *offset;
}

}  // namespace

std::optional<std::int64_t> ParseTimestamp(std::string_view text) {
  auto reading = ReadClock(text, /*needs_seconds=*/true);
  if (!reading) return std::nullopt;
  if (reading->zone.empty()) return timegm(&reading->clock);
  return InZone(*reading);
}

std::optional<std::int64_t> ParseLocalTimestamp(std::string_view text) {
  const std::string from_mail = IsoTextOfMailDate(text);
  auto reading = ReadClock(from_mail.empty() ? text : from_mail, /*needs_seconds=*/false);
  if (!reading) return std::nullopt;
  if (reading->zone.empty()) return std::mktime(&reading->clock);
  return InZone(*reading);
}

std::optional<std::string> ToLocalDateText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::nullopt;
  // The reader takes the text for standard time. Where daylight saving is in effect the clock is ahead of that by what
  // the conversion back comes out late.
  std::tm standard = local;
  standard.tm_isdst = 0;
  const std::time_t ahead = std::mktime(&standard) - time;
  const std::time_t clock = timegm(&local) - ahead;
  std::tm fields{};
  if (gmtime_r(&clock, &fields) == nullptr || fields.tm_year < 1 - 1900 || fields.tm_year > 9999 - 1900) {
    return std::nullopt;
  }
  char text[64];
  std::snprintf(text, sizeof text, "%d:%d:%d:%d:%d:%d", fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

std::string CombinedDateText(std::optional<std::int64_t> created, std::optional<std::int64_t> modified) {
  const auto first = created ? ToLocalDateText(*created) : std::nullopt;
  const auto second = modified ? ToLocalDateText(*modified) : std::nullopt;
  if (!first && !second) return "";
  return (first ? *first : *second) + "," + (second ? *second : *first);
}

}  // namespace media_server
