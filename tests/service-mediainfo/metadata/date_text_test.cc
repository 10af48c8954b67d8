#include "service-mediainfo/metadata/date_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace service::mediainfo {
namespace {

// 2023-05-17 10:20:30 and 2024-01-02 03:04:05, read as UTC.
constexpr std::int64_t kMay = 1684318830;
constexpr std::int64_t kJanuary = 1704164645;
constexpr std::int64_t kHour = 3600;

// POSIX zone descriptions, so that no zone database is needed.
constexpr char kUtc[] = "UTC0";
constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char kKolkata[] = "IST-5:30";

/// Sets the process's zone for one test.
class Zone {
 public:
  explicit Zone(const char* zone) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~Zone() {
    setenv("TZ", old_.c_str(), 1);
    tzset();
  }

 private:
  std::string old_;
};

FileDates Read(const char* text) {
  const std::optional<FileDates> dates = ReadDates(text);
  EXPECT_TRUE(dates.has_value()) << text;
  return dates.value_or(FileDates{});
}

TEST(DateTextTest, ReadsCreationAndModification) {
  const Zone zone(kUtc);
  const FileDates dates = Read("2023:5:17:10:20:30,2024:1:2:3:4:5");
  EXPECT_EQ(dates.creation, kMay);
  EXPECT_EQ(dates.modification, kJanuary);
}

TEST(DateTextTest, TakesOneDateForBoth) {
  const Zone zone(kUtc);
  const FileDates dates = Read("2023:5:17:10:20:30");
  EXPECT_EQ(dates.creation, kMay);
  EXPECT_EQ(dates.modification, kMay);
}

TEST(DateTextTest, TakesTheFirstDateForBothWhenTheSecondIsCutShort) {
  const Zone zone(kUtc);
  for (const char* text : {"2023:5:17:10:20:30,", "2023:5:17:10:20:30,2024:1:2:3:4", "2023:5:17:10:20:30 x"}) {
    const FileDates dates = Read(text);
    EXPECT_EQ(dates.creation, kMay) << text;
    EXPECT_EQ(dates.modification, kMay) << text;
  }
}

TEST(DateTextTest, TakesWhatFollowsTheSecondDate) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("2023:5:17:10:20:30,2024:1:2:3:4:5 \n x").modification, kJanuary);
}

TEST(DateTextTest, ReadsLeadingZerosAndBlanks) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("2023:05:17: 10:20:30").creation, kMay);
}

TEST(DateTextTest, ReadsSigns) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("+2023:+5:17:10:20:30").creation, kMay);
  EXPECT_EQ(Read("2023:5:17:10:21:-30").creation, kMay);
  EXPECT_EQ(ReadDates("+-2023:5:17:10:20:30"), std::nullopt);
}

// As the C library's scanning: a number past 64 bits is the largest one, whose low 32 bits are all set.
TEST(DateTextTest, TakesTheLowBitsOfALargeNumber) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("2023:5:17:10:20:4294967326").creation, kMay);
  EXPECT_EQ(Read("2023:5:17:10:20:99999999999999999999").creation, kMay - 31);
}

TEST(DateTextTest, RefusesOtherTexts) {
  for (const char* text : {"", "2023-05-17 10:20:30", "2023:5:17:10:20", "2023:5:17:10:20:", "x", ",2023:5:17:10:20:30",
                           "2023:5:17:10 :20:30", "2023:5:17,10:20:30"}) {
    EXPECT_EQ(ReadDates(text), std::nullopt) << text;
  }
}

TEST(DateTextTest, ReadsLocalTime) {
  {
    const Zone zone(kKolkata);
    EXPECT_EQ(Read("2023:5:17:10:20:30").creation, kMay - 5 * kHour - kHour / 2);
  }
  const Zone zone(kBerlin);
  EXPECT_EQ(Read("2024:1:2:3:4:5").creation, kJanuary - kHour);
}

// The clock that the text shows counts as standard time also in summer.
TEST(DateTextTest, KnowsNoDaylightSaving) {
  {
    const Zone zone(kBerlin);
    EXPECT_EQ(Read("2023:5:17:10:20:30").creation, kMay - kHour);
    EXPECT_EQ(ReadDatesAsTheyCome("2023:5:17:10:20:30,2024:1:2:3:4:5").creation, kMay - kHour);
  }
  const Zone zone(kNewYork);
  const FileDates dates = Read("2023:5:17:10:20:30,2024:1:2:3:4:5");
  EXPECT_EQ(dates.creation, kMay + 5 * kHour);
  EXPECT_EQ(dates.modification, kJanuary + 5 * kHour);
}

TEST(DateTextTest, CarriesFieldsOutOfRange) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("2023:4:47:9:79:90").creation, kMay);
}

TEST(DateTextTest, TakesAnyNumbers) {
  const Zone zone(kUtc);
  EXPECT_EQ(Read("2147483647:2147483647:2147483647:2147483647:2147483647:2147483647").creation, -1);
  EXPECT_TRUE(ReadDates("-2147483648:-2147483648:0:0:0:0"));
  EXPECT_TRUE(ReadDates("99999999999999999999:1:1:0:0:0"));
}

TEST(DatesAsTheyComeTest, ReadsBothDates) {
  const Zone zone(kUtc);
  const FileDates dates = ReadDatesAsTheyCome("2023:5:17:10:20:30,2024:1:2:3:4:5");
  EXPECT_EQ(dates.creation, kMay);
  EXPECT_EQ(dates.modification, kJanuary);
}

// A zeroed date: month 0 of the year 0, day 0.
TEST(DatesAsTheyComeTest, DoesNotTakeOneDateForBoth) {
  const Zone zone(kUtc);
  const FileDates dates = ReadDatesAsTheyCome("2023:5:17:10:20:30");
  EXPECT_EQ(dates.creation, kMay);
  EXPECT_EQ(dates.modification, -62169984000);
}

TEST(DatesAsTheyComeTest, TakesWhatIsMissingAsZero) {
  const Zone zone(kUtc);
  const FileDates nothing = ReadDatesAsTheyCome("");
  EXPECT_EQ(nothing.creation, nothing.modification);
  // Only the year is read: the month is 0, the day is 0.
  EXPECT_EQ(ReadDatesAsTheyCome("1970-01-01").creation, -32 * 24 * kHour);
}

}  // namespace
}  // namespace service::mediainfo
