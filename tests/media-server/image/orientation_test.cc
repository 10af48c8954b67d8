#include "media-server/image/orientation.h"

#include <gtest/gtest.h>

namespace media_server::image {
namespace {

using enum imagecore::Flip;

TEST(Orientation, ExifNumbersAllEight) {
  const Orientation expected[] = {{kFlipNone, 0},        {kFlipHorizontal, 0},   {kFlipNone, 180},
                                  {kFlipVertical, 0},    {kFlipHorizontal, 270}, {kFlipNone, 90},
                                  {kFlipHorizontal, 90}, {kFlipNone, 270}};
  for (std::uint32_t number = 1; number <= 8; ++number) {
    EXPECT_EQ(OrientationFromExif(number), expected[number - 1]) << number;
  }
}

TEST(Orientation, OtherNumbersAreNone) {
  EXPECT_FALSE(OrientationFromExif(0));
  EXPECT_FALSE(OrientationFromExif(9));
  EXPECT_FALSE(OrientationFromExif(UINT32_MAX));
}

TEST(Orientation, TurnIsAFlipWithARotationBehindIt) {
  EXPECT_EQ(OrientationFromTurn({false, 0}), (Orientation{kFlipNone, 0}));
  EXPECT_EQ(OrientationFromTurn({false, 3}), (Orientation{kFlipNone, 270}));
  EXPECT_EQ(OrientationFromTurn({true, 0}), (Orientation{kFlipHorizontal, 0}));
  EXPECT_EQ(OrientationFromTurn({true, 1}), (Orientation{kFlipHorizontal, 90}));
  EXPECT_EQ(OrientationFromTurn({true, 2}), (Orientation{kFlipVertical, 0}));
}

TEST(OrientationSteps, NoStepIsUpright) { EXPECT_EQ(OrientationSteps().Result(), (Orientation{kFlipNone, 0})); }

TEST(OrientationSteps, RotationsAddUp) {
  OrientationSteps steps;
  steps.RotateClockwise(90);
  steps.RotateClockwise(-180);
  EXPECT_EQ(steps.Result(), (Orientation{kFlipNone, 270}));
  steps.RotateClockwise(90);
  EXPECT_EQ(steps.Result(), (Orientation{kFlipNone, 0}));
}

TEST(OrientationSteps, AFlipBehindARotationIsOneBeforeItTheOtherWay) {
  OrientationSteps steps;
  steps.RotateClockwise(90);
  steps.FlipHorizontally();
  EXPECT_EQ(steps.Result(), (Orientation{kFlipHorizontal, 270}));
}

TEST(OrientationSteps, BothFlipsAreHalfATurn) {
  OrientationSteps steps;
  steps.FlipVertically();
  EXPECT_EQ(steps.Result(), (Orientation{kFlipVertical, 0}));
  steps.FlipHorizontally();
  EXPECT_EQ(steps.Result(), (Orientation{kFlipNone, 180}));
}

}  // namespace
}  // namespace media_server::image
