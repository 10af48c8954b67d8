#include "media-server/container/display_matrix.h"

#include <gtest/gtest.h>

#include <array>

namespace media_server {
namespace {

constexpr std::int32_t kOne = 1 << 16;

std::optional<DisplayTurn> TurnOf(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
  const std::array<std::int32_t, 9> matrix = {a, b, 0, c, d, 0, 0, 0, 1 << 30};
  return ReadDisplayMatrix(matrix);
}

TEST(DisplayMatrix, TurnsClockwise) {
  EXPECT_EQ(TurnOf(kOne, 0, 0, kOne), (DisplayTurn{false, 0}));
  EXPECT_EQ(TurnOf(0, kOne, -kOne, 0), (DisplayTurn{false, 1}));
  EXPECT_EQ(TurnOf(-kOne, 0, 0, -kOne), (DisplayTurn{false, 2}));
  EXPECT_EQ(TurnOf(0, -kOne, kOne, 0), (DisplayTurn{false, 3}));
}

TEST(DisplayMatrix, MirrorsBeforeItTurns) {
  EXPECT_EQ(TurnOf(-kOne, 0, 0, kOne), (DisplayTurn{true, 0}));
  EXPECT_EQ(TurnOf(0, -kOne, -kOne, 0), (DisplayTurn{true, 1}));
  EXPECT_EQ(TurnOf(kOne, 0, 0, -kOne), (DisplayTurn{true, 2}));
  EXPECT_EQ(TurnOf(0, kOne, kOne, 0), (DisplayTurn{true, 3}));
}

TEST(DisplayMatrix, TakesTheNearestQuarterOfWhatIsScaledOrAskew) {
  EXPECT_EQ(TurnOf(0, 3 * kOne, -2 * kOne, 0), (DisplayTurn{false, 1}));
  EXPECT_EQ(TurnOf(kOne, 5000, -5000, kOne), (DisplayTurn{false, 0}));
  EXPECT_EQ(TurnOf(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MIN), (DisplayTurn{false, 2}));
}

TEST(DisplayMatrix, LeavesNoPictureWithoutAnArea) {
  EXPECT_FALSE(TurnOf(0, 0, 0, 0));
  EXPECT_FALSE(TurnOf(kOne, kOne, kOne, kOne));
}

}  // namespace
}  // namespace media_server
