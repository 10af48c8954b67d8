#include "svg-decoder/length.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using svg_decoder::ParseViewBox;
using svg_decoder::ToPixels;

struct LengthCase {
  const char* text;
  double pixels;
};

class LengthTest : public testing::TestWithParam<LengthCase> {};

TEST_P(LengthTest, HasItsPixels) {
  const auto pixels = ToPixels(GetParam().text, 16);
  ASSERT_TRUE(pixels.has_value());
  EXPECT_NEAR(*pixels, GetParam().pixels, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(Units, LengthTest,
                         testing::Values(LengthCase{"120", 120}, LengthCase{"120px", 120}, LengthCase{"2in", 192},
                                         LengthCase{"2.54cm", 96}, LengthCase{"25.4mm", 96}, LengthCase{"101.6Q", 96},
                                         LengthCase{"72pt", 96}, LengthCase{"6pc", 96}, LengthCase{"10em", 160},
                                         LengthCase{"10rem", 160}, LengthCase{"10ex", 80}, LengthCase{"10ch", 80}));

INSTANTIATE_TEST_SUITE_P(Spellings, LengthTest,
                         testing::Values(LengthCase{" 120 ", 120}, LengthCase{"\t\n120px\r\f", 120},
                                         LengthCase{"+120", 120}, LengthCase{".5", 0.5}, LengthCase{"+.5e2", 50},
                                         LengthCase{"1e2", 100}, LengthCase{"1E-1px", 0.1},
                                         LengthCase{"1e2mm", 36000 / 95.25}, LengthCase{"10MM", 3600 / 95.25},
                                         LengthCase{"7PX", 7}, LengthCase{"101.6q", 96}, LengthCase{"0", 0},
                                         LengthCase{"-0", 0}));

TEST(LengthsRelativeToTheFont, FollowItsSize) {
  EXPECT_EQ(ToPixels("10em", 20), 200);
  EXPECT_EQ(ToPixels("10rem", 20), 200);
  EXPECT_EQ(ToPixels("10ex", 20), 100);
  EXPECT_EQ(ToPixels("10px", 20), 10);
}

class NoLengthTest : public testing::TestWithParam<const char*> {};

TEST_P(NoLengthTest, TellsNothing) { EXPECT_EQ(ToPixels(GetParam(), 16), std::nullopt); }

INSTANTIATE_TEST_SUITE_P(All, NoLengthTest,
                         testing::Values("", " ", "100%", "10vw", "10vh", "-5", "-1e-9px", "auto", "abc", "120 px",
                                         "120px 5", "12,5", "calc(10px + 20px)", "inf", "nan", "infpx", "0x10", "+-5",
                                         "--5", "+", ".", "5.", "5.px", "5.e2", "-.", "1e999", "px", "5pxx"));

struct ViewBoxCase {
  const char* text;
  double width;
  double height;
};

class ViewBoxTest : public testing::TestWithParam<ViewBoxCase> {};

TEST_P(ViewBoxTest, HasItsLastTwoNumbersAsItsSize) {
  const auto box = ParseViewBox(GetParam().text);
  ASSERT_TRUE(box.has_value());
  EXPECT_EQ(box->width, GetParam().width);
  EXPECT_EQ(box->height, GetParam().height);
}

INSTANTIATE_TEST_SUITE_P(All, ViewBoxTest,
                         testing::Values(ViewBoxCase{"0 0 640 480", 640, 480}, ViewBoxCase{"0,0,640,480", 640, 480},
                                         ViewBoxCase{" -5.5\n+7 , 64.5\t48e1 ", 64.5, 480},
                                         ViewBoxCase{"0 0 .5 1e-3", 0.5, 0.001}, ViewBoxCase{"0-1.5.5 20", 0.5, 20}));

class NoViewBoxTest : public testing::TestWithParam<const char*> {};

TEST_P(NoViewBoxTest, IsNone) { EXPECT_FALSE(ParseViewBox(GetParam()).has_value()); }

INSTANTIATE_TEST_SUITE_P(All, NoViewBoxTest,
                         testing::Values("", "none", "0 0 640", "0 0 640 480 5", "0 0 640px 480px", "0 0 0 480",
                                         "0 0 640 0", "0 0 -640 480", "0 0 640 -480", "0,,0,640,480", "0 0 640 480,",
                                         "0 0 nan 480", "0 0 inf 480", "0 0 1e999 480", "0 0 640. 480",
                                         "0 0 640 480."));

}  // namespace
