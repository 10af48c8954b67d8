#include "service-mediainfo/media_info/frame_rate.h"

#include <gtest/gtest.h>

#include <limits>

namespace service::mediainfo::media_info::impl {
namespace {

using core::Rational;

TEST(FrameRateTest, CountsThousandthsWithoutReducing) {
  EXPECT_EQ(FrameRateToRational(25.0), (Rational{25000, 1000}));
  EXPECT_EQ(FrameRateToRational(29.97), (Rational{29970, 1000}));
  EXPECT_EQ(FrameRateToRational(23.976), (Rational{23976, 1000}));
}

TEST(FrameRateTest, GuardsAgainstTruncationOneStepShort) {
  EXPECT_EQ(FrameRateToRational(23.97599999), (Rational{23976, 1000}));
  EXPECT_EQ(FrameRateToRational(24.99995), (Rational{25000, 1000}));
  EXPECT_EQ(FrameRateToRational(24.99985), (Rational{24999, 1000}));
}

TEST(FrameRateTest, TruncatesARateBelowOneStepToNothing) {
  EXPECT_EQ(FrameRateToRational(0.0005), (Rational{0, 1000}));
}

TEST(FrameRateTest, TakesAnUnknownRateAsOne) {
  EXPECT_EQ(FrameRateToRational(0.0), (Rational{1, 1}));
  EXPECT_EQ(FrameRateToRational(-25.0), (Rational{1, 1}));
  EXPECT_EQ(FrameRateToRational(std::numeric_limits<double>::quiet_NaN()), (Rational{1, 1}));
}

TEST(FrameRateTest, EndsAtTheLargestNumerator) {
  EXPECT_EQ(FrameRateToRational(1e300), (Rational{9223372036854775807, 1000}));
  EXPECT_EQ(FrameRateToRational(std::numeric_limits<double>::infinity()), (Rational{9223372036854775807, 1000}));
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
