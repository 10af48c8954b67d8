#include "media-server/codec/mpeg2.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

std::optional<PictureParameters> Read(const std::string& hex) { return ReadMpegVideo(Hex(hex.c_str())); }

std::optional<int> PictureType(const std::string& hex) { return ReadMpegPictureType(Hex(hex.c_str())); }

const std::string kPalHeader = "000001b3 2d0240 33 ffffe228";        // 720x576, 16:9, 25 frames per second
const std::string kMainProfile = "000001b5 1482 0001 0000";          // Main profile and level, interlaced, 4:2:0
const std::string kPicture = "000001b8 00080040 00000100 000ffff8";  // group of pictures, picture header

TEST(MpegVideo, ReadsMpeg2Headers) {
  const auto picture = Read(kPalHeader + kMainProfile + kPicture + "000001b5 8ffff380 00");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 4);
  EXPECT_EQ(picture->level, 8);
  EXPECT_EQ(picture->width, 720U);
  EXPECT_EQ(picture->height, 576U);
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{64, 45}));
  EXPECT_EQ(picture->frame_rate, (Rational{25, 1}));
  EXPECT_EQ(picture->bit_depth, 8);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->progressive_only, false);
  EXPECT_EQ(picture->field_order, FieldOrder::kTopFirst);
  EXPECT_EQ(picture->color, ColorDescription{});
}

TEST(MpegVideo, ReadsProfilesWithTheEscapeBit) {
  const auto picture = Read("000001b3 780438 33 fffffb20 000001b5 1824 0001 0000 000001b5 2b01 0202 1e0221c0");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 0);
  EXPECT_EQ(picture->level, 2);
  EXPECT_EQ(picture->chroma_sampling, 422);
  EXPECT_EQ(picture->height, 1080U);
  EXPECT_EQ(picture->color, (ColorDescription{1, {}, {}, {}}));
  EXPECT_EQ(picture->field_order, std::nullopt) << "no picture follows";
}

TEST(MpegVideo, ReadsColourOfTheDisplayExtension) {
  const auto picture = Read("000001b3 2d01e0 24 ffffe018 000001b5 148a 0001 0000 000001b5 2b06 0606 0b420f00");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->color, (ColorDescription{6, 6, 6, {}}));
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{8, 9}));
  EXPECT_EQ(picture->frame_rate, (Rational{30000, 1001}));
  EXPECT_EQ(picture->progressive_only, true);
}

TEST(MpegVideo, CallsASequenceWithoutExtensionMpeg1) {
  const auto picture = Read("000001b3 160120 83 ffffe018" + kPicture);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, std::nullopt);
  EXPECT_EQ(picture->level, std::nullopt);
  EXPECT_EQ(picture->width, 352U);
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{10000, 9157}));
  EXPECT_EQ(picture->progressive_only, true);
}

TEST(MpegVideo, MultipliesTheFrameRateByItsExtension) {
  // frame_rate_extension_n 1, frame_rate_extension_d 2 in the last seven bits: 25 * 2 / 3
  EXPECT_EQ(Read(kPalHeader + "000001b5 1482 0001 0022")->frame_rate, (Rational{50, 3}));
}

TEST(MpegVideo, StopsAtTheFirstSlice) {
  const auto picture = Read(kPalHeader + "00000101 22ff" + kMainProfile);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, std::nullopt);
}

TEST(MpegVideo, RefusesWhatHasNoSequenceHeader) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read(kMainProfile));
  EXPECT_FALSE(Read("000001b3 2d0240"));
  EXPECT_FALSE(Read("000001b3 000240 33"));
}

TEST(MpegVideo, LeavesOutForbiddenCodes) {
  const auto picture = Read("000001b3 2d0240 0f ffffe228" + kMainProfile);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->sample_aspect_ratio, std::nullopt);
  EXPECT_EQ(picture->frame_rate, std::nullopt);
}

TEST(MpegVideo, TellsHowAPictureIsCoded) {
  // temporal_reference 0, then the type in three bits.
  EXPECT_EQ(PictureType(kPalHeader + kMainProfile + "00000100 000fffff"), 1);
  EXPECT_EQ(PictureType("00000100 0017ffff 00000101 22ff"), 2);
  EXPECT_EQ(PictureType("00000100 ffdfffff 00000100 000fffff"), 3) << "the first picture counts";
}

TEST(MpegVideo, TellsNoTypeWithoutAPictureHeader) {
  EXPECT_EQ(PictureType(""), std::nullopt);
  EXPECT_EQ(PictureType(kPalHeader + "00000101 22ff"), std::nullopt);
  EXPECT_EQ(PictureType("00000100 00"), std::nullopt);
  EXPECT_EQ(PictureType("00000100 0007ffff"), std::nullopt) << "forbidden";
  EXPECT_EQ(PictureType("00000100 0027ffff"), std::nullopt) << "no picture of MPEG-2";
}

}  // namespace
}  // namespace media_server::codec
