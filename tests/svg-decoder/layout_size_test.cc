#include "svg-decoder/layout_size.h"

#include <gtest/gtest.h>

#include <ostream>

namespace svg_decoder {

std::ostream& operator<<(std::ostream& out, const PixelSize& size) { return out << size.width << 'x' << size.height; }

namespace {

constexpr PixelSize kWhole{640, 480};

TEST(LayoutSizeTest, IsWidthAndHeight) {
  EXPECT_EQ(LayoutSize({.width = "640", .height = "480"}), kWhole);
  EXPECT_EQ(LayoutSize({.width = "640", .height = "480", .view_box = "0 0 10 20"}), kWhole);
  EXPECT_EQ(LayoutSize({.width = "210mm", .height = "297mm"}), (PixelSize{794, 1123}));
}

TEST(LayoutSizeTest, IsTheViewBoxWhereNothingElseIsTold) {
  EXPECT_EQ(LayoutSize({.view_box = "0 0 640 480"}), kWhole);
  EXPECT_EQ(LayoutSize({.width = "100%", .height = "100%", .view_box = "0 0 640 480"}), kWhole);
  EXPECT_EQ(LayoutSize({.width = "50%", .height = "auto", .view_box = "0 0 640 480"}), kWhole);
  EXPECT_EQ(LayoutSize({.width = "-5", .height = "10 px", .view_box = "0 0 640 480"}), kWhole);
}

TEST(LayoutSizeTest, TakesTheMissingDimensionFromTheViewBoxesRatio) {
  EXPECT_EQ(LayoutSize({.width = "200", .view_box = "0 0 100 50"}), (PixelSize{200, 100}));
  EXPECT_EQ(LayoutSize({.height = "200", .view_box = "0 0 100 50"}), (PixelSize{400, 200}));
  EXPECT_EQ(LayoutSize({.width = "100", .height = "100%", .view_box = "0 0 200 100"}), (PixelSize{100, 50}));
  EXPECT_EQ(LayoutSize({.width = "50%", .height = "100", .view_box = "0 0 200 100"}), (PixelSize{200, 100}));
}

TEST(LayoutSizeTest, Is300By150WithoutAViewBox) {
  EXPECT_EQ(LayoutSize({}), (PixelSize{300, 150}));
  EXPECT_EQ(LayoutSize({.width = "100%", .height = "50%"}), (PixelSize{300, 150}));
  EXPECT_EQ(LayoutSize({.width = "200"}), (PixelSize{200, 150}));
  EXPECT_EQ(LayoutSize({.height = "200"}), (PixelSize{300, 200}));
  EXPECT_EQ(LayoutSize({.view_box = "0 0 0 10"}), (PixelSize{300, 150}));
  EXPECT_EQ(LayoutSize({.view_box = "0 0 640"}), (PixelSize{300, 150}));
}

TEST(LayoutSizeTest, IsRoundedToTheNearestPixelAndAtLeastOne) {
  EXPECT_EQ(LayoutSize({.width = "10.5", .height = "10.49"}), (PixelSize{11, 10}));
  EXPECT_EQ(LayoutSize({.width = "0.2", .height = "0"}), (PixelSize{1, 1}));
  EXPECT_EQ(LayoutSize({.width = "1000", .view_box = "0 0 100000 1"}), (PixelSize{1000, 1}));
}

TEST(LayoutSizeTest, EndsWithTheNumbersRange) {
  EXPECT_EQ(LayoutSize({.width = "1e300", .height = "4294967295"}), (PixelSize{4294967295, 4294967295}));
  EXPECT_EQ(LayoutSize({.width = "1e300", .view_box = "0 0 1e-300 1e300"}), (PixelSize{4294967295, 4294967295}));
}

TEST(LayoutSizeTest, TakesTheFontSizeOfTheRoot) {
  EXPECT_EQ(LayoutSize({.width = "10em", .height = "5rem"}), (PixelSize{160, 80}));
  EXPECT_EQ(LayoutSize({.width = "10em", .height = "5rem", .font_size = "20"}), (PixelSize{200, 100}));
  EXPECT_EQ(LayoutSize({.width = "10em", .height = "5ex", .font_size = "2em"}), (PixelSize{320, 80}));
  EXPECT_EQ(LayoutSize({.width = "10em", .height = "5em", .font_size = "large"}), (PixelSize{160, 80}));
}

TEST(ViewSizeTest, IsTheViewBox) {
  EXPECT_EQ(ViewSize({.width = "10", .height = "20", .view_box = "5 5 640 480"}), kWhole);
  EXPECT_EQ(ViewSize({.view_box = "0 0 639.5 0.1"}), (PixelSize{640, 1}));
}

TEST(ViewSizeTest, IsTheSizeForWantOfAViewBox) {
  EXPECT_EQ(ViewSize({.width = "640", .height = "480"}), kWhole);
  EXPECT_EQ(ViewSize({.width = "640", .height = "480", .view_box = "0 0 0 0"}), kWhole);
  EXPECT_EQ(ViewSize({}), (PixelSize{300, 150}));
}

}  // namespace
}  // namespace svg_decoder
