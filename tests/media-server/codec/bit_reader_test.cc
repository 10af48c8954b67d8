#include "media-server/codec/bit_reader.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

TEST(BitReader, ReadsMostSignificantBitFirstAcrossBytes) {
  const auto bytes = Hex("a5 0f ff 01 80");
  BitReader bits(bytes);
  EXPECT_EQ(bits.Bits(3), 0b101U);
  EXPECT_EQ(bits.Bits(9), 0b001010000U);
  EXPECT_EQ(bits.Bits(0), 0U);
  EXPECT_EQ(bits.BitsLeft(), 28U);
  EXPECT_TRUE(bits.Flag());
  EXPECT_TRUE(bits.Ok());
}

TEST(BitReader, Reads32BitsOffAByteBoundary) {
  const auto bytes = Hex("7f ff ff ff 80");
  BitReader bits(bytes);
  bits.Skip(1);
  EXPECT_EQ(bits.Bits(32), 0xFFFFFFFFU);
  EXPECT_EQ(bits.BitsLeft(), 7U);
}

TEST(BitReader, ReadingPastTheEndFailsForGood) {
  const auto bytes = Hex("ff");
  BitReader bits(bytes);
  EXPECT_EQ(bits.Bits(9), 0U);
  EXPECT_FALSE(bits.Ok());
  EXPECT_EQ(bits.Bits(1), 0U);
  EXPECT_EQ(bits.BitsLeft(), 0U);
  EXPECT_FALSE(bits.Ok());
}

TEST(BitReader, SkippingToTheVeryEndIsNoFailure) {
  const auto bytes = Hex("ff ff");
  BitReader bits(bytes);
  bits.Skip(16);
  EXPECT_TRUE(bits.Ok());
  bits.Skip(1);
  EXPECT_FALSE(bits.Ok());
}

TEST(BitReader, AlignsOnlyWhenInsideAByte) {
  const auto bytes = Hex("ff 01");
  BitReader bits(bytes);
  bits.AlignToByte();
  EXPECT_EQ(bits.BitsLeft(), 16U);
  bits.Skip(1);
  bits.AlignToByte();
  EXPECT_EQ(bits.Bits(8), 1U);
}

TEST(BitReader, ReadsExpGolombCodes) {
  const auto bytes = Hex("a6 42 98 e2 04 8a");  // 1 010 011 00100 00101 00110 00111 0001000 0001001 0001010
  BitReader bits(bytes);
  for (const std::uint32_t expected : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U}) {
    EXPECT_EQ(bits.UnsignedGolomb(), expected);
  }
  EXPECT_TRUE(bits.Ok());
}

TEST(BitReader, ReadsSignedExpGolombCodes) {
  const auto bytes = Hex("a6 42 80");  // 1 010 011 00100 00101
  BitReader bits(bytes);
  for (const std::int32_t expected : {0, 1, -1, 2, -2}) EXPECT_EQ(bits.SignedGolomb(), expected);
}

TEST(BitReader, ReadsTheLargestExpGolombCode) {
  const auto bytes = Hex("00 00 00 01 ff ff ff ff");  // 31 zeros, a one, 31 ones and one bit more
  BitReader bits(bytes);
  EXPECT_EQ(bits.UnsignedGolomb(), 0xFFFFFFFEU);
  EXPECT_EQ(bits.BitsLeft(), 1U);
}

TEST(BitReader, FailsOnAnExpGolombCodeOfMoreThan32Bits) {
  const auto bytes = Hex("00 00 00 00 ff ff ff ff ff");
  BitReader bits(bytes);
  EXPECT_EQ(bits.UnsignedGolomb(), 0U);
  EXPECT_FALSE(bits.Ok());
}

TEST(BitReader, FailsOnAnExpGolombCodeCutShort) {
  const auto bytes = Hex("04");  // five zeros, a one, two of five bits
  BitReader bits(bytes);
  EXPECT_EQ(bits.UnsignedGolomb(), 0U);
  EXPECT_FALSE(bits.Ok());
}

}  // namespace
}  // namespace media_server::codec
