#include "media-server/codec/vp9.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

std::optional<PictureParameters> Read(const char* hex) { return ReadVp9Frame(Hex(hex)); }

TEST(Vp9, ReadsAKeyFrame) {
  const auto picture = Read("824983420013f00ef606");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 0);
  EXPECT_EQ(picture->level, std::nullopt);
  EXPECT_EQ(picture->width, 320U);
  EXPECT_EQ(picture->height, 240U);
  EXPECT_EQ(picture->bit_depth, 8);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->color, (ColorDescription{{}, {}, {}, false}));
  EXPECT_EQ(picture->alpha, false);
}

// A hidden intra frame that is no key frame and resets no context.
BitWriter HiddenIntraFrame(std::uint32_t profile) {
  BitWriter bits;
  bits.Bits(2, 2).Bits(profile & 1, 1).Bits(profile >> 1, 1);
  bits.Bits(0, 1).Bits(1, 1).Bits(0, 1).Bits(0, 1);  // not shown again, not key, not shown, not error resilient
  bits.Bits(1, 1).Bits(0, 2).Bits(0x498342, 24);     // intra only, no reset
  return bits;
}

TEST(Vp9, IntraFramesOfProfile0HaveTheFormatOfTheProfile) {
  const auto picture = ReadVp9Frame(HiddenIntraFrame(0).Bits(0xFF, 8).Bits(319, 16).Bits(239, 16).Bytes());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 0);
  EXPECT_EQ(picture->bit_depth, 8);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->color, (ColorDescription{{}, {}, 5, false}));
  EXPECT_EQ(picture->alpha, false);
  EXPECT_EQ(picture->width, 320U);
  EXPECT_EQ(picture->height, 240U);
}

TEST(Vp9, IntraFramesOfOtherProfilesTellTheirFormat) {
  const auto picture = ReadVp9Frame(HiddenIntraFrame(2)
                                        .Bits(0, 1)
                                        .Bits(2, 3)
                                        .Bits(1, 1)  // 10 bits of BT.709 in full range
                                        .Bits(0xFF, 8)
                                        .Bits(319, 16)
                                        .Bits(239, 16)
                                        .Bytes());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 2);
  EXPECT_EQ(picture->bit_depth, 10);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->color, (ColorDescription{{}, {}, 1, true}));
  EXPECT_EQ(picture->width, 320U);
}

TEST(Vp9, ErrorResilientIntraFramesHaveNoResetBits) {
  BitWriter bits;
  bits.Bits(0b10'00'0101, 8).Bits(1, 1).Bits(0x498342, 24).Bits(0xFF, 8).Bits(319, 16).Bits(239, 16);
  const auto picture = ReadVp9Frame(bits.Bytes());
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 320U);
}

TEST(Vp9, ReadsFormatsOfTheOtherProfiles) {
  const auto rgb = Read("a2498342e013f00ef606");
  ASSERT_TRUE(rgb);
  EXPECT_EQ(rgb->profile, 1);
  EXPECT_EQ(rgb->chroma_sampling, kChromaRgb);
  EXPECT_EQ(rgb->color, (ColorDescription{{}, {}, 0, true}));
  EXPECT_EQ(Read("a249834204027e01dec0c7")->chroma_sampling, 440);
  const auto deep = Read("b124c1a142009f8077b031");
  ASSERT_TRUE(deep);
  EXPECT_EQ(deep->profile, 3);
  EXPECT_EQ(deep->bit_depth, 12);
  EXPECT_EQ(deep->chroma_sampling, 422);
}

TEST(Vp9, TellsOnlyTheProfileOfOtherFrames) {
  // Inter frames, shown without and with a reset and hidden; a frame that is shown again.
  for (const char* hex : {"86 00", "86 80", "84 00", "88"}) {
    const auto picture = Read(hex);
    ASSERT_TRUE(picture) << hex;
    EXPECT_EQ(picture->profile, 0);
    EXPECT_EQ(picture->width, std::nullopt);
    EXPECT_EQ(picture->bit_depth, std::nullopt);
  }
}

TEST(Vp9, RefusesWhatIsNoFrame) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("42 49 83 42 00 13 f0 0e f6 06")) << "frame marker";
  EXPECT_FALSE(Read("82 49 83 43 00 13 f0 0e f6 06")) << "sync code";
  EXPECT_FALSE(Read("82 49 83 42 00 13 f0 0e")) << "cut short";
  EXPECT_FALSE(Read("b9 24 c1 a1 42 00 9f 80 77 b0 31")) << "reserved bit of profile 3";
  EXPECT_FALSE(Read("82 49 83 42 e0 13 f0 0e f6 06")) << "RGB does not go with profile 0";
}

}  // namespace
}  // namespace media_server::codec
