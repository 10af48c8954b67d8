#include "media-server/probe/orientation.h"

#include <gtest/gtest.h>

#include <array>

#include "media_server/istream.h"

namespace media_server::probe {
namespace {

constexpr std::int32_t kOne = 1 << 16;
constexpr std::int32_t kUnit = 1 << 30;

struct Case {
  const char* name;
  std::int32_t a, b, c, d;
  std::int32_t code;
};

class OrientationTest : public testing::TestWithParam<Case> {};

TEST_P(OrientationTest, IsReadFromTheMatrix) {
  const auto [name, a, b, c, d, code] = GetParam();
  const std::array<std::int32_t, 9> matrix = {a, b, 0, c, d, 0, 0, 0, kUnit};
  EXPECT_EQ(OrientationOfMatrix(matrix), code);
}

INSTANTIATE_TEST_SUITE_P(Matrices, OrientationTest,
                         testing::Values(Case{"Identity", kOne, 0, 0, kOne, kOrientationUpright},
                                         Case{"QuarterTurn", 0, kOne, -kOne, 0, kOrientation90},
                                         Case{"HalfTurn", -kOne, 0, 0, -kOne, kOrientation180},
                                         Case{"ThreeQuarterTurn", 0, -kOne, kOne, 0, kOrientation270},
                                         Case{"FlipHorizontal", -kOne, 0, 0, kOne, kOrientationFlipHorizontal},
                                         Case{"FlipVertical", kOne, 0, 0, -kOne, kOrientationFlipVertical},
                                         Case{"FlipAndQuarterTurn", 0, -kOne, -kOne, 0, kOrientation90},
                                         Case{"FlipAndThreeQuarterTurn", 0, kOne, kOne, 0, kOrientation270},
                                         Case{"ScaledQuarterTurn", 0, 3 * kOne, -2 * kOne, 0, kOrientation90},
                                         Case{"NearlyUpright", kOne, 5000, -5000, kOne, kOrientationUpright},
                                         Case{"AllZero", 0, 0, 0, 0, kOrientationUpright},
                                         Case{"Extremes", INT32_MIN, INT32_MIN, INT32_MAX, INT32_MIN, kOrientation180}),
                         [](const auto& case_info) { return case_info.param.name; });

}  // namespace
}  // namespace media_server::probe
