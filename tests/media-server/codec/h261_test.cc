#include "media-server/codec/h261.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

// Start code, temporal reference, split screen, document camera, freeze release, source format, still image off.
std::vector<std::uint8_t> Picture(bool is_full, unsigned shift = 0) {
  BitWriter bits;
  bits.Bits(0xFF, shift).Bits(0x10, 20).Bits(31, 5).Bits(0b110, 3).Bits(is_full ? 1 : 0, 1).Bits(0b11, 2);
  return bits.Bytes();
}

TEST(H261, ReadsPicturesOfBothSizes) {
  const auto full = ReadH261Picture(Picture(/*is_full=*/true));
  ASSERT_TRUE(full);
  EXPECT_EQ(full->width, 352U);
  EXPECT_EQ(full->height, 288U);
  EXPECT_EQ(full->sample_aspect_ratio, (core::Rational{12, 11}));
  EXPECT_EQ(full->frame_rate, (core::Rational{30'000, 1001}));
  EXPECT_EQ(full->progressive_only, true);
  const auto quarter = ReadH261Picture(Picture(/*is_full=*/false));
  ASSERT_TRUE(quarter);
  EXPECT_EQ(quarter->width, 176U);
  EXPECT_EQ(quarter->height, 144U);
}

TEST(H261, TheStartCodeMayBeginWithinAByte) {
  for (unsigned shift = 1; shift < 8; ++shift) {
    const auto picture = ReadH261Picture(Picture(/*is_full=*/true, shift));
    ASSERT_TRUE(picture) << shift;
    EXPECT_EQ(picture->width, 352U) << shift;
  }
  EXPECT_FALSE(ReadH261Picture(Picture(/*is_full=*/true, 8)));
}

TEST(H261, OtherBytesAreNone) {
  EXPECT_FALSE(ReadH261Picture({}));
  EXPECT_FALSE(ReadH261Picture(Hex("0001")));
  EXPECT_FALSE(ReadH261Picture(Hex("000100"))) << "ends in front of the size";
  EXPECT_FALSE(ReadH261Picture(Hex("0001100000"))) << "a group of blocks";
}

}  // namespace
}  // namespace media_server::codec
