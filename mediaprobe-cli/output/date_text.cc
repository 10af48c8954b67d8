#include "output/date_text.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace mediaprobe {

std::optional<std::string> Iso8601Local(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm local{};
  if (localtime_r(&time, &local) == nullptr) return std::nullopt;
  const long year = local.tm_year + 1900L;
  if (year < 1 || year > 9999) return std::nullopt;

  const long offset_minutes = std::labs(local.tm_gmtoff) / 60;
  std::array<char, 64> text;
  const int length = std::snprintf(text.data(), text.size(), "%04ld-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld", year,
                                   local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                                   local.tm_gmtoff < 0 ? '-' : '+', offset_minutes / 60, offset_minutes % 60);
  return std::string(text.data(), static_cast<std::size_t>(length));
}

}  // namespace mediaprobe
