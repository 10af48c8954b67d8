#include "media-server/codec/prores.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

std::optional<PictureParameters> Read(const char* hex) { return ReadProResFrame(Hex(hex)); }

TEST(ProRes, ReadsAnInterlacedFrame) {
  // size, identifier; header size 148, version 0, encoder; 720x576; 4:2:2, top field first; codes; no alpha
  const auto picture = Read("00025c00 69637066 0094 0000 4c617663 02d0 0240 84 00 020202 40");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 720U);
  EXPECT_EQ(picture->height, 576U);
  EXPECT_EQ(picture->chroma_sampling, 422);
  EXPECT_EQ(picture->progressive_only, false);
  EXPECT_EQ(picture->field_order, FieldOrder::kTopFirst);
  EXPECT_EQ(picture->alpha, false);
  EXPECT_EQ(picture->color, ColorDescription{});
  EXPECT_EQ(picture->frame_rate, std::nullopt);
  EXPECT_EQ(picture->sample_aspect_ratio, std::nullopt);
  EXPECT_EQ(picture->bit_depth, std::nullopt) << "told by the sample entry's code";
}

TEST(ProRes, ReadsAlphaColourRateAndAspect) {
  const auto picture = Read("00019829 69637066 0094 0001 4c617663 02d0 0240 c8 33 091009 42");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->chroma_sampling, 444);
  EXPECT_EQ(picture->alpha, true);
  EXPECT_EQ(picture->field_order, FieldOrder::kBottomFirst);
  EXPECT_EQ(picture->color, (ColorDescription{9, 16, 9, {}}));
  EXPECT_EQ(picture->frame_rate, (Rational{25, 1}));
  EXPECT_EQ(picture->sample_aspect_ratio, (Rational{64, 45}));
}

TEST(ProRes, TakesMatrix0ForUnknown) {
  EXPECT_EQ(Read("00019829 69637066 0094 0001 4c617663 0140 00b4 c0 11 000000 40")->color, ColorDescription{});
}

TEST(ProRes, RefusesWhatIsNoFrame) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("00025c00 69637067 0094 0000 4c617663 02d0 0240 84 00 020202 40")) << "identifier";
  EXPECT_FALSE(Read("00025c00 69637066 0094 0002 4c617663 02d0 0240 84 00 020202 40")) << "version";
  EXPECT_FALSE(Read("00025c00 69637066 0094 0000 4c617663 02d0 0240 44 00 020202 40")) << "chroma format";
  EXPECT_FALSE(Read("00025c00 69637066 0094 0000 4c617663 02d0 0240 8c 00 020202 40")) << "interlace mode";
  EXPECT_FALSE(Read("00025c00 69637066 0094 0000 4c617663 0000 0240 84 00 020202 40")) << "no width";
  EXPECT_FALSE(Read("00025c00 69637066 0094 0000 4c617663 02d0 0240 84 00 020202")) << "cut short";
}

TEST(ProRes, KnowsTheFormatOfEachCode) {
  const auto hq = ProResFormat(0x68637061);  // "apch"
  ASSERT_TRUE(hq);
  EXPECT_EQ(hq->profile, 3);
  EXPECT_EQ(hq->chroma_sampling, 422);
  EXPECT_EQ(hq->bit_depth, 10);
  const auto xq = ProResFormat(0x78347061);  // "ap4x"
  ASSERT_TRUE(xq);
  EXPECT_EQ(xq->profile, 5);
  EXPECT_EQ(xq->chroma_sampling, 444);
  EXPECT_EQ(xq->bit_depth, 12);
  EXPECT_FALSE(ProResFormat(0x31637661));  // "avc1"
}

}  // namespace
}  // namespace media_server::codec
