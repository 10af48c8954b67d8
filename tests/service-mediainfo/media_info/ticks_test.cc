#include "service-mediainfo/media_info/ticks.h"

#include <gtest/gtest.h>

#include <limits>

namespace service::mediainfo::media_info::impl {
namespace {

TEST(TicksTest, CountsHundredNanoseconds) {
  EXPECT_EQ(SecondsToTicks(2.5), 25'000'000u);
  EXPECT_EQ(SecondsToTicks(0.0), 0u);
  EXPECT_EQ(SecondsToTicks(1e-7), 1u);
}

TEST(TicksTest, AddsATenthOfAUnitBeforeTruncating) {
  EXPECT_EQ(SecondsToTicks(2.9999999999), 30'000'000u);
  EXPECT_EQ(SecondsToTicks(2.9999999), 29'999'999u);
  EXPECT_EQ(SecondsToTicks(2.99999998), 29'999'999u);
  EXPECT_EQ(SecondsToTicks(8.95e-8), 0u);
  EXPECT_EQ(SecondsToTicks(9.05e-8), 1u);
}

TEST(TicksTest, GivesNothingForNegativeAndForNotANumber) {
  EXPECT_EQ(SecondsToTicks(-1.0), 0u);
  EXPECT_EQ(SecondsToTicks(-1e300), 0u);
  EXPECT_EQ(SecondsToTicks(std::numeric_limits<double>::quiet_NaN()), 0u);
}

TEST(TicksTest, ReachesTheUpperHalfOfTheRange) {
  EXPECT_EQ(SecondsToTicks(0x1p63 / 1e7), 9223372036854775808u);
  EXPECT_EQ(SecondsToTicks(1.5e12), 15'000'000'000'000'000'000u);
}

TEST(TicksTest, EndsAtTheLargestCount) {
  EXPECT_EQ(SecondsToTicks(0x1p64 / 1e7), 18446744073709551615u);
  EXPECT_EQ(SecondsToTicks(1e300), 18446744073709551615u);
  EXPECT_EQ(SecondsToTicks(std::numeric_limits<double>::infinity()), 18446744073709551615u);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
