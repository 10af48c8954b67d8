#include "output/date_text.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

namespace mediaprobe {
namespace {

class DateTextTest : public ::testing::Test {
 protected:
  void SetUp() override { SetZone("UTC0"); }
  void TearDown() override { SetZone("UTC0"); }
  static void SetZone(const char* zone) {
    setenv("TZ", zone, /*overwrite=*/1);
    tzset();
  }
};

TEST_F(DateTextTest, UtcHasAZeroOffset) {
  EXPECT_EQ(Iso8601Local(0), "1970-01-01T00:00:00+00:00");
  EXPECT_EQ(Iso8601Local(1'684'318'830), "2023-05-17T10:20:30+00:00");
}

TEST_F(DateTextTest, OffsetIsTheOneOfThatTime) {
  SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(Iso8601Local(1'704'164'645), "2024-01-02T04:04:05+01:00");
  EXPECT_EQ(Iso8601Local(1'684'318'830), "2023-05-17T12:20:30+02:00");
}

TEST_F(DateTextTest, WesternAndBrokenOffsets) {
  SetZone("NST3:30");
  EXPECT_EQ(Iso8601Local(0), "1969-12-31T20:30:00-03:30");
  SetZone("XST0:30");
  EXPECT_EQ(Iso8601Local(0), "1969-12-31T23:30:00-00:30");
  SetZone("NPT-5:45");
  EXPECT_EQ(Iso8601Local(0), "1970-01-01T05:45:00+05:45");
}

TEST_F(DateTextTest, YearsHaveFourDigits) {
  EXPECT_EQ(Iso8601Local(-62'135'596'800), "0001-01-01T00:00:00+00:00");
  EXPECT_EQ(Iso8601Local(-62'135'596'801), std::nullopt);
  EXPECT_EQ(Iso8601Local(253'402'300'799), "9999-12-31T23:59:59+00:00");
  EXPECT_EQ(Iso8601Local(253'402'300'800), std::nullopt);
  EXPECT_EQ(Iso8601Local(INT64_MAX), std::nullopt);
  EXPECT_EQ(Iso8601Local(INT64_MIN), std::nullopt);
}

}  // namespace
}  // namespace mediaprobe
