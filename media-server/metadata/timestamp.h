#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace media_server {

/// Seconds since 1970 UTC of a date and time written as in ISO 8601: "2021-06-30T23:59:59.000000Z",
/// "2014-12-19T07:39:06+0700", "2020-02-29 12:34:56". A text without a zone is taken as UTC. Empty for anything else: a
/// date without a time of day is no point in time.
std::optional<std::int64_t> ParseTimestamp(std::string_view text);

/// The same for clocks of cameras and desks: a text without a zone is the machine's local time, the seconds may be left
/// out, and the date may be written as in mail (RFC 1123, 5.2.14): "Tue, 04 Sep 2018 10:11:12 +0200".
std::optional<std::int64_t> ParseLocalTimestamp(std::string_view text);

/// One point in time as the module reads it back: "Y:M:D:h:m:s" in the machine's zone, such that a C library that is
/// told that daylight saving is not in effect gives `seconds` again, in summer as in winter. Empty for years past 9999
/// or before 1.
std::optional<std::string> ToLocalDateText(std::int64_t seconds);

/// The combined date text: creation and modification joined by a comma; empty for none. One of them alone is told as
/// both: not every reader takes a text with a single date.
std::string CombinedDateText(std::optional<std::int64_t> created, std::optional<std::int64_t> modified);

}  // namespace media_server
