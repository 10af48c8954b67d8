#include "service-mediainfo/metadata/date_text.h"

#include <cstdio>
#include <ctime>

namespace service::mediainfo {
namespace {

constexpr int kFieldsOfOne = 6;
constexpr int kFieldsOfBoth = 12;

/// Number of fields found; the others stay as they are. Year and month are left as the text has them.
int ScanBoth(const char* text, std::tm& first, std::tm& second) {
  return std::sscanf(text, "%d:%d:%d:%d:%d:%d,%d:%d:%d:%d:%d:%d\n", &first.tm_year, &first.tm_mon, &first.tm_mday,
                     &first.tm_hour, &first.tm_min, &first.tm_sec, &second.tm_year, &second.tm_mon, &second.tm_mday,
                     &second.tm_hour, &second.tm_min, &second.tm_sec);
}

int ScanOne(const char* text, std::tm& record) {
  return std::sscanf(text, "%d:%d:%d:%d:%d:%d", &record.tm_year, &record.tm_mon, &record.tm_mday, &record.tm_hour,
                     &record.tm_min, &record.tm_sec);
}

/// Wraps around: the text may hold any number.
int Subtract(int value, unsigned amount) { return static_cast<int>(static_cast<unsigned>(value) - amount); }

std::int64_t ToSeconds(std::tm record) {
  record.tm_year = Subtract(record.tm_year, 1900);
  record.tm_mon = Subtract(record.tm_mon, 1);
  return std::mktime(&record);
}

}  // namespace

std::optional<FileDates> ReadDates(const char* text) {
  // Zeroed records say "no daylight saving" (tm_isdst 0), also in summer.
  std::tm creation{};
  std::tm modification{};
  if (ScanBoth(text, creation, modification) != kFieldsOfBoth) {
    if (ScanOne(text, creation) != kFieldsOfOne) return std::nullopt;
    modification = creation;
  }
  return FileDates{ToSeconds(creation), ToSeconds(modification)};
}

FileDates ReadDatesAsTheyCome(const char* text) {
  std::tm creation{};
  std::tm modification{};
  ScanBoth(text, creation, modification);
  return {ToSeconds(creation), ToSeconds(modification)};
}

}  // namespace service::mediainfo
