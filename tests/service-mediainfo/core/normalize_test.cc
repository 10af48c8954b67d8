#include "service-mediainfo/core/normalize.h"

#include <limits>

#include "fakes/fixture.h"

namespace {

using core::Rational;

constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

class NormalizeTest : public fakes::Fixture {
 protected:
  static Rational Normalized(std::int64_t numerator, std::int64_t denominator) {
    Rational rational{numerator, denominator};
    EXPECT_EQ(core::Normalize(rational), 0u);
    return rational;
  }
};

TEST_F(NormalizeTest, DividesBothPartsByTheirGreatestCommonDivisor) {
  EXPECT_EQ(Normalized(25000, 1000), (Rational{25, 1}));
  EXPECT_EQ(Normalized(29970, 1000), (Rational{2997, 100}));
  EXPECT_EQ(Normalized(23976, 1000), (Rational{2997, 125}));
  EXPECT_EQ(Normalized(7, 3), (Rational{7, 3}));
  EXPECT_EQ(Normalized(1000, 25000), (Rational{1, 25}));
}

// The divisor takes the sign that the truncating remainder gives it.
TEST_F(NormalizeTest, DoesNotMoveTheSign) {
  EXPECT_EQ(Normalized(-6, -4), (Rational{3, 2}));
  EXPECT_EQ(Normalized(6, -4), (Rational{3, -2}));
  EXPECT_EQ(Normalized(-6, 4), (Rational{3, -2}));
  EXPECT_EQ(Normalized(-4, -3), (Rational{4, 3}));
  EXPECT_EQ(Normalized(-3, 3), (Rational{-1, 1}));
}

TEST_F(NormalizeTest, LogsAndLeavesAZeroPart) {
  const fakes::LogLine line{"core", 7, "ration den zero! file[%s] line[%d]",
                            "ration den zero! file[core::Normalize] line[99]"};
  EXPECT_EQ(Normalized(0, 5), (Rational{0, 5}));
  EXPECT_EQ(fakes::TakeLog(), std::vector{line});
  EXPECT_EQ(Normalized(5, 0), (Rational{5, 0}));
  EXPECT_EQ(fakes::TakeLog(), std::vector{line});
  EXPECT_EQ(Normalized(0, 0), (Rational{0, 0}));
  EXPECT_EQ(fakes::TakeLog(), std::vector{line});
}

TEST_F(NormalizeTest, NarrowsTheDivisorToItsLowHalf) {
  // The divisor is 0x180000003; its low half is -0x7FFFFFFD.
  EXPECT_EQ(Normalized(0x180000003, 0x300000006), (Rational{-3, -6}));
  // Nothing is left of this one.
  EXPECT_EQ(Normalized(0x100000000, 0x200000000), (Rational{0x100000000, 0x200000000}));
}

TEST_F(NormalizeTest, TakesTheSmallestNumber) {
  EXPECT_EQ(Normalized(kSmallest, -1), (Rational{kSmallest, 1}));
  EXPECT_EQ(Normalized(kSmallest, 2), (Rational{kSmallest / 2, 1}));
}

}  // namespace
