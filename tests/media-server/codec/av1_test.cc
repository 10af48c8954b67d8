#include "media-server/codec/av1.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

std::optional<PictureParameters> Read(const char* hex) { return ReadAv1Configuration(Hex(hex)); }

TEST(Av1, ReadsTheSequenceHeaderOfARecord) {
  // av1C of a 320x240 HDR picture from libaom; sequence header of 14 bytes.
  const auto picture = Read("81 00 4c 00  0a 0e 000000043cffbcdaf95091009040");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 0);
  EXPECT_EQ(picture->level, 0);
  EXPECT_EQ(picture->high_tier, std::nullopt) << "level 2.0 has no tiers";
  EXPECT_EQ(picture->width, 320U);
  EXPECT_EQ(picture->height, 240U);
  EXPECT_EQ(picture->bit_depth, 10);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->color, (ColorDescription{9, 16, 9, false}));
  EXPECT_EQ(picture->frame_rate, std::nullopt);
}

TEST(Av1, ReadsChromaOfEachProfile) {
  EXPECT_EQ(Read("81 48 48 00  0a 0b 400000043cffbcdaf94080")->chroma_sampling, 422);
  EXPECT_EQ(Read("81 00 1c 00  0a 0a 000000043cffbcdaf92a")->chroma_sampling, 400);
  const auto rgb = Read("81 20 00 00  0a 0d 200000043cffbcdaf92021a004");
  ASSERT_TRUE(rgb);
  EXPECT_EQ(rgb->profile, 1);
  EXPECT_EQ(rgb->chroma_sampling, kChromaRgb);
  EXPECT_EQ(rgb->color, (ColorDescription{1, 13, 0, true}));
}

TEST(Av1, ReadsFrameRateFromEqualIntervals) {
  const auto picture = Read("81 00 0c 00  0a 13 0400000fa40001d4c300000087d4f79b5f2008");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 426U);
  EXPECT_EQ(picture->frame_rate, (Rational{30000, 1001}));
}

TEST(Av1, ReadsTierAndDecoderModelOfTheFirstOperatingPoint) {
  BitWriter bits;
  bits.Bits(0b000'0'0, 5).Bits(1, 1);                             // profile, still, reduced; timing_info_present_flag
  bits.Bits(1, 32).Bits(50, 32).Bits(1, 1).Ue(0);                 // 50 pictures a second
  bits.Bits(1, 1).Bits(3, 5).Bits(1, 32).Bits(0, 10);             // decoder model, delays of 4 bits
  bits.Bits(0, 1).Bits(1, 5);                                     // no display delay, two operating points
  bits.Bits(0, 12).Bits(13, 5).Bits(1, 1).Bits(1, 1).Bits(0, 9);  // level 5.1, high tier, delays
  bits.Bits(0, 12).Bits(5, 5).Bits(0, 1);                         // level 3.1
  bits.Bits(11, 4).Bits(11, 4).Bits(3839, 12).Bits(2159, 12).Bits(0, 1);
  bits.Bits(0, 3 + 4 + 1).Bits(1, 1).Bits(1, 1);     // tools; screen content and integer vectors chosen per frame
  bits.Bits(0, 3).Bits(0, 3).Bits(1, 1).Bits(0, 3);  // filters; colour configuration: full range
  std::vector<std::uint8_t> sample = {0x12, 0x00, 0x0A, static_cast<std::uint8_t>(bits.Bytes().size())};
  sample.insert(sample.end(), bits.Bytes().begin(), bits.Bytes().end());
  const auto picture = ReadAv1Sample(sample);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->level, 13);
  EXPECT_EQ(picture->high_tier, true);
  EXPECT_EQ(picture->width, 3840U);
  EXPECT_EQ(picture->height, 2160U);
  EXPECT_EQ(picture->frame_rate, (Rational{50, 1}));
}

TEST(Av1, KeepsTheFieldsOfARecordWithoutSequenceHeader) {
  const auto picture = Read("81 2d c0 00");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 1);
  EXPECT_EQ(picture->level, 13);
  EXPECT_EQ(picture->high_tier, true);
  EXPECT_EQ(picture->bit_depth, 10);
  EXPECT_EQ(picture->chroma_sampling, 444);
  EXPECT_EQ(picture->width, std::nullopt);
}

TEST(Av1, FindsTheSequenceHeaderBehindOtherUnits) {
  const auto picture = ReadAv1Sample(Hex("1200  7a02ffff  0a0a 000000043cffbcdaf92a  320130"));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->chroma_sampling, 400);
}

TEST(Av1, RefusesWhatHasNoSequenceHeader) {
  EXPECT_FALSE(ReadAv1Sample({}));
  EXPECT_FALSE(ReadAv1Sample(Hex("12 00 32 01 30")));
  EXPECT_FALSE(ReadAv1Sample(Hex("8a 0a 000000043cffbcdaf92a"))) << "forbidden bit";
  EXPECT_FALSE(ReadAv1Sample(Hex("0a 0b 000000043cffbcdaf92a"))) << "size beyond the end";
  EXPECT_FALSE(ReadAv1Sample(Hex("0a 09 000000043cffbcdaf9"))) << "header cut short";
  EXPECT_FALSE(ReadAv1Sample(Hex("0a 0a 600000043cffbcdaf92a"))) << "profile 3";
}

}  // namespace
}  // namespace media_server::codec
