#include "service-mediainfo/core/whole_number.h"

#include <gtest/gtest.h>

namespace service::mediainfo {
namespace {

TEST(ToWholeNumber, CutsFractions) {
  EXPECT_EQ(ToWholeNumber(0.0), 0u);
  EXPECT_EQ(ToWholeNumber(0.999), 0u);
  EXPECT_EQ(ToWholeNumber(1.0), 1u);
  EXPECT_EQ(ToWholeNumber(1'200'000.75), 1'200'000u);
}

TEST(ToWholeNumber, StaysWithinItsRange) {
  EXPECT_EQ(ToWholeNumber(-0.5), 0u);
  EXPECT_EQ(ToWholeNumber(-1e300), 0u);
  EXPECT_EQ(ToWholeNumber(std::numeric_limits<double>::quiet_NaN()), 0u);
  EXPECT_EQ(ToWholeNumber(-std::numeric_limits<double>::infinity()), 0u);
  EXPECT_EQ(ToWholeNumber(18446744073709549568.0), 18'446'744'073'709'549'568u);
  EXPECT_EQ(ToWholeNumber(18446744073709551616.0), 18'446'744'073'709'551'615u);
  EXPECT_EQ(ToWholeNumber(std::numeric_limits<double>::infinity()), 18'446'744'073'709'551'615u);
}

}  // namespace
}  // namespace service::mediainfo
