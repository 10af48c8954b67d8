#pragma once

#include <cstdint>
#include <optional>

namespace service::mediainfo {

/// Seconds since 1970-01-01 00:00:00 UTC.
struct FileDates {
  std::int64_t creation = 0;
  std::int64_t modification = 0;
};

/// Reads a combined date text, "Y:M:D:h:m:s,Y:M:D:h:m:s" (creation, modification) or one date-time that stands for
/// both, as the machine's local time without daylight saving. Empty for any other text. Values are not checked: an
/// impossible date gives what the C library makes of it, -1 included.
std::optional<FileDates> ReadDates(const char* text);

/// As ReadDates, but any text gives an answer, parts that it does not tell counting as 0, and a single date-time does
/// not stand for both.
FileDates ReadDatesAsTheyCome(const char* text);

}  // namespace service::mediainfo
