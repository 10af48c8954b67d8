#include "core/uuid.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>

namespace {

using core::Uuid;

constexpr char kText[] = "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C";
constexpr std::array<std::uint8_t, 16> kBytes{0x0C, 0xE1, 0x5D, 0xAE, 0x81, 0x76, 0x46, 0x22,
                                              0x8D, 0xA4, 0xA5, 0xC5, 0xC2, 0xE9, 0xAC, 0x1C};

TEST(UuidTest, StartsAsZeros) { EXPECT_EQ(Uuid().ToString(), "00000000-0000-0000-0000-000000000000"); }

TEST(UuidTest, ReadsBytesInTheOrderOfTheText) {
  Uuid uuid;
  ASSERT_TRUE(uuid.FromString(kText));
  EXPECT_EQ(uuid.bytes(), kBytes);
  EXPECT_EQ(uuid.ToString(), kText);
}

TEST(UuidTest, TakesDigitsOfEitherCase) {
  Uuid lower;
  ASSERT_TRUE(lower.FromString("0ce15dae-8176-4622-8da4-a5c5c2e9ac1c"));
  EXPECT_EQ(lower.bytes(), kBytes);
  EXPECT_EQ(lower.ToString(), kText);
}

TEST(UuidTest, KnowsEveryDigit) {
  Uuid uuid;
  ASSERT_TRUE(uuid.FromString("01234567-89ab-cdef-ABCD-EF0123456789"));
  EXPECT_EQ(uuid.ToString(), "01234567-89AB-CDEF-ABCD-EF0123456789");
}

TEST(UuidTest, RejectsOtherFormsAndChangesNothing) {
  const std::array<std::string, 11> kOthers{
      "",
      "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1",     // a digit short
      "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C0",   // a digit more
      "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C ",   // a blank more
      "{0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1C}",  // braces
      "0CE15DAE081760462208DA40A5C5C2E9AC1C",    // digits in place of the hyphens
      "0CE15DAE-8176-4622-8DA40A5C5C2E9AC1C",    // a digit in place of the last hyphen
      "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1G",    // past the last digit
      "0CE15DA/-8176-4622-8DA4-A5C5C2E9AC1C",    // before the first digit
      "0CE15DA-E8176-4622-8DA4-A5C5C2E9AC1C",    // a hyphen elsewhere
      "0CE15DAE-8176-4622-8DA4-A5C5C2E9AC\xC3\xA4",
  };
  Uuid uuid;
  ASSERT_TRUE(uuid.FromString(kText));
  for (const std::string& other : kOthers) {
    EXPECT_FALSE(uuid.FromString(other.c_str())) << other;
    EXPECT_EQ(uuid.bytes(), kBytes) << other;
  }
  EXPECT_FALSE(uuid.FromString(nullptr));
  EXPECT_EQ(uuid.bytes(), kBytes);
}

TEST(UuidTest, ComparesByItsBytes) {
  Uuid first;
  Uuid second;
  EXPECT_EQ(first, second);
  ASSERT_TRUE(first.FromString(kText));
  EXPECT_NE(first, second);
  ASSERT_TRUE(second.FromString("0ce15dae-8176-4622-8da4-a5c5c2e9ac1c"));
  EXPECT_EQ(first, second);
  ASSERT_TRUE(second.FromString("0CE15DAE-8176-4622-8DA4-A5C5C2E9AC1D"));
  EXPECT_NE(first, second);
}

}  // namespace
