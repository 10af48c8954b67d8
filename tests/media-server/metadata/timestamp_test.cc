#include "media-server/metadata/timestamp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

#include "tests/media-server/zone.h"

namespace media_server {
namespace {

constexpr std::int64_t kWinter = 1704163384;  // 2024-01-02 02:43:04 UTC
constexpr std::int64_t kSummer = 1720988130;  // 2024-07-14 20:15:30 UTC

/// What a reader gets that takes the text for local time without daylight saving.
std::int64_t ReadBack(const std::string& text) {
  std::tm fields{};
  if (std::sscanf(text.c_str(), "%d:%d:%d:%d:%d:%d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday, &fields.tm_hour,
                  &fields.tm_min, &fields.tm_sec) != 6) {
    return -1;
  }
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  return std::mktime(&fields);
}

TEST(TimestampTest, ReadsTimesWithAndWithoutZone) {
  EXPECT_EQ(ParseTimestamp("2024-07-14T20:15:30.000000Z"), kSummer);
  EXPECT_EQ(ParseTimestamp("2024-07-14T22:15:30+0200"), kSummer);
  EXPECT_EQ(ParseTimestamp("2024-07-14T22:15:30+02:00"), kSummer);
  EXPECT_EQ(ParseTimestamp("2024-07-14 16:15:30 -04"), kSummer);
  EXPECT_EQ(ParseTimestamp("2024-07-14 20:15:30"), kSummer);
  EXPECT_EQ(ParseTimestamp("2024:07:14 20:15:30"), kSummer);
  EXPECT_EQ(ParseTimestamp("1969-12-31T23:59:59Z"), -1);
  EXPECT_EQ(ParseTimestamp("2020-02-29T00:00:00Z"), 1582934400);
}

TEST(TimestampTest, ReadsTimesWithoutZoneOnTheMachinesClock) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(ParseLocalTimestamp("2024:07:14 22:15:30"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("2024-01-02T03:43:04.25"), kWinter);
  EXPECT_EQ(ParseLocalTimestamp("2024-07-14T22:15"), kSummer - 30);
  EXPECT_EQ(ParseLocalTimestamp("2024-07-14T20:15:30Z"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("2024-07-14T16:15-04:00"), kSummer - 30);
  for (const char* text : {"", "2024-07-14", "2024-07-14T22", "2024-07-14T22:15:", "2024-07-14T22:15:30+",
                           "0000:00:00 00:00:00", "    :  :     :  :  "}) {
    EXPECT_EQ(ParseLocalTimestamp(text), std::nullopt) << text;
  }
}

TEST(TimestampTest, ReadsDatesOfMail) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(ParseLocalTimestamp("Sun, 14 Jul 2024 22:15:30 +0200"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("Sun, 14 Jul 2024 20:15:30 GMT"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("14 Jul 2024 16:15:30 EDT"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("Sun, 14 Jul 2024 22:15:30"), kSummer);
  EXPECT_EQ(ParseLocalTimestamp("Sun, 14 Jul 2024 20:15 UT"), kSummer - 30);
  EXPECT_EQ(ParseLocalTimestamp("Tue, 2 Jan 2024 02:43:04 Z"), kWinter);
  EXPECT_EQ(ParseLocalTimestamp("Tue, 31 Dec 2024 00:00:00 +0000"), 1735603200);
  for (const char* text : {"Sun, 14 Jul 2024", "Sun, 14 Jul 24 20:15:30 GMT", "Sun, 14 Juli 2024 20:15:30 GMT",
                           "Sun, 14 ulA 2024 20:15:30 GMT", "Sun, 32 Jul 2024 20:15:30 GMT", "Sun, Jul 2024 20:15:30",
                           "Sun, 14 Jul 2024 20:15:30 CAT", "Sun,", ", 14 J", "14 "}) {
    EXPECT_EQ(ParseLocalTimestamp(text), std::nullopt) << text;
  }
}

TEST(TimestampTest, RefusesWhatIsNoPointInTime) {
  for (const char* text : {"", "2024", "2024-07-14", "2024-07-14T20:15", "2024-13-01T00:00:00Z", "2023-02-29T00:00:00Z",
                           "2024-07-14T24:00:00Z", "2024-07-14T20:60:00Z", "2024-07-14T20:15:30Zulu",
                           "2024-07-14T20:15:30+25:00", "-024-07-14T20:15:30Z", "x024-07-14T20:15:30Z"}) {
    EXPECT_EQ(ParseTimestamp(text), std::nullopt) << text;
  }
}

class ZoneTest : public testing::TestWithParam<const char*> {};

TEST_P(ZoneTest, GivesTheSameSecondsBackInSummerAndInWinter) {
  const Zone zone(GetParam());
  for (const std::int64_t seconds : {kWinter, kSummer, std::int64_t{0}, std::int64_t{-86400}}) {
    const auto text = ToLocalDateText(seconds);
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(ReadBack(*text), seconds) << *text;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, ZoneTest,
                         testing::Values("UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                                         "NZST-12NZDT,M9.5.0,M4.1.0/3", "IST-5:30",
                                         "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45"));

TEST(TimestampTest, WritesStandardTimeOfTheZone) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(ToLocalDateText(kWinter), "2024:1:2:3:43:4");
  EXPECT_EQ(ToLocalDateText(kSummer), "2024:7:14:21:15:30") << "an hour behind the clock on the wall";
}

TEST(TimestampTest, LeavesYearsOutThatNoFileMeans) {
  const Zone zone("UTC0");
  EXPECT_EQ(ToLocalDateText(253402300799), "9999:12:31:23:59:59");
  EXPECT_EQ(ToLocalDateText(253402300800), std::nullopt);
  EXPECT_EQ(ToLocalDateText(std::int64_t{1} << 62), std::nullopt);
  EXPECT_EQ(ToLocalDateText(-(std::int64_t{1} << 62)), std::nullopt);
}

TEST(TimestampTest, JoinsCreationAndModification) {
  const Zone zone("UTC0");
  EXPECT_EQ(CombinedDateText(kWinter, kSummer), "2024:1:2:2:43:4,2024:7:14:20:15:30");
  EXPECT_EQ(CombinedDateText(kWinter, std::nullopt), "2024:1:2:2:43:4,2024:1:2:2:43:4");
  EXPECT_EQ(CombinedDateText(std::nullopt, kSummer), "2024:7:14:20:15:30,2024:7:14:20:15:30");
  EXPECT_EQ(CombinedDateText(std::nullopt, std::nullopt), "");
}

}  // namespace
}  // namespace media_server
