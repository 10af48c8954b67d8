#include "media-server/codec/mpeg4_visual.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

std::optional<PictureParameters> Read(const std::string& hex) { return ReadMpeg4Visual(Hex(hex.c_str())); }

TEST(Mpeg4Visual, ReadsAnAdvancedSimpleLayer) {
  const auto picture = Read("000001b0 f5 000001b5 a913 00000100 00000120 08d4f848450ba98514042d14103f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 15);
  EXPECT_EQ(picture->level, 5);
  EXPECT_EQ(picture->width, 640U);
  EXPECT_EQ(picture->height, 360U);
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{9, 8}));
  EXPECT_EQ(picture->bit_depth, 8);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->progressive_only, true);
  EXPECT_EQ(picture->frame_rate, std::nullopt) << "the frame rate is not fixed";
}

TEST(Mpeg4Visual, ReadsAFixedFrameRateAndLowDelay) {
  const auto picture = Read("000001b0 03 000001b5 09 00000100 00000120 00bc403ec400670c5a1120518f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 0);
  EXPECT_EQ(picture->level, 3);
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{16, 15}));
  EXPECT_EQ(picture->frame_rate, (Rational{25, 1}));
}

TEST(Mpeg4Visual, SeesInterlacedLayers) {
  const auto picture = Read("000001b0 f1 000001b5 a913 00000100 00000120 08d48d0800cd14042cdc303f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->height, 358U);
  EXPECT_EQ(picture->progressive_only, false);
  EXPECT_EQ(picture->field_order, std::nullopt);
}

TEST(Mpeg4Visual, GivesSimpleLevel0ItsNumber) {
  const auto picture = Read("000001b0 08 00000120 00bc403ec400670c5a1120518f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->level, 0);
}

TEST(Mpeg4Visual, ReadsALayerWithoutTheHeadersAboveIt) {
  const auto picture = Read("00000120 00bc403ec400670c5a1120518f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, std::nullopt);
  EXPECT_EQ(picture->width, 720U);
}

TEST(Mpeg4Visual, ReadsColourOfTheVisualObject) {
  // no identifier, type 1, signal type present, format 5, full range, description BT.709 three times
  const auto object = BitWriter().Bits(0, 1).Bits(1, 4).Bits(1, 1).Bits(5, 3).Bits(1, 1).Bits(1, 1).Bits(0x010101, 24);
  std::vector<std::uint8_t> bytes = Hex("000001b5");
  bytes.insert(bytes.end(), object.Bytes().begin(), object.Bytes().end());
  const auto layer = Hex("00000120 00bc403ec400670c5a1120518f");
  bytes.insert(bytes.end(), layer.begin(), layer.end());
  const auto picture = ReadMpeg4Visual(bytes);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->color, (ColorDescription{1, 1, 1, true}));
}

TEST(Mpeg4Visual, StudioLayersAreOfAnotherForm) {
  const auto picture = Read("000001b0 e1 00000120 00bc403ec400670c5a1120518f");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 14);
  EXPECT_EQ(picture->level, 1);
  EXPECT_EQ(picture->width, std::nullopt);
  EXPECT_EQ(picture->chroma_sampling, std::nullopt);
}

TEST(Mpeg4Visual, RefusesWhatHasNoLayer) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("000001b0 03 000001b5 09 00000100"));
  EXPECT_FALSE(Read("000001b6 10 00000120 00bc403ec400670c5a1120518f")) << "a picture comes first";
  EXPECT_FALSE(Read("00000120 00bc403ec400670c5a")) << "cut short";
}

}  // namespace
}  // namespace media_server::codec
