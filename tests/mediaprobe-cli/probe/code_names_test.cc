#include "probe/code_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(CodeNames, DispositionsAreNamedFromTheLowestBit) {
  EXPECT_THAT(DispositionNames(0), IsEmpty());
  EXPECT_THAT(DispositionNames(1u << 6 | 1u << 0), ElementsAre("default", "forced"));
  EXPECT_THAT(DispositionNames(1u << 10), ElementsAre("attached_pic"));
  EXPECT_THAT(DispositionNames(1u << 21), ElementsAre("multilayer"));
  EXPECT_THAT(DispositionNames(1u << 13 | 1u << 31), IsEmpty());
  EXPECT_EQ(DispositionNames(0xFFFFFFFF).size(), 19u);
}

TEST(CodeNames, Flags) {
  EXPECT_THAT(VideoFlagNames(0x1F), ElementsAre("interlaced", "variable_frame_rate", "alpha", "encrypted", "hdr"));
  EXPECT_THAT(VideoFlagNames(0xFFFFFFE0), IsEmpty());
  EXPECT_THAT(AudioFlagNames(0xFFFFFFFF), ElementsAre("variable_bit_rate", "lossless", "encrypted"));
  EXPECT_THAT(AudioFlagNames(1u << 2), ElementsAre("lossless"));
}

TEST(CodeNames, FieldOrders) {
  EXPECT_EQ(FieldOrderName(1), "progressive");
  EXPECT_EQ(FieldOrderName(2), "top_first");
  EXPECT_EQ(FieldOrderName(3), "bottom_first");
  EXPECT_EQ(FieldOrderName(0), std::nullopt);
  EXPECT_EQ(FieldOrderName(4), std::nullopt);
}

TEST(CodeNames, Colors) {
  EXPECT_EQ(ColorRangeName(1), "limited");
  EXPECT_EQ(ColorRangeName(2), "full");
  EXPECT_EQ(ColorRangeName(0), std::nullopt);
  EXPECT_EQ(ColorPrimariesName(1), "bt709");
  EXPECT_EQ(ColorPrimariesName(9), "bt2020");
  EXPECT_EQ(ColorPrimariesName(12), "smpte432");
  EXPECT_EQ(ColorPrimariesName(13), std::nullopt);
}

TEST(CodeNames, Chroma) {
  EXPECT_EQ(ChromaName(420), "4:2:0");
  EXPECT_EQ(ChromaName(400), "4:0:0");
  EXPECT_EQ(ChromaName(1), "RGB");
  EXPECT_EQ(ChromaName(0), std::nullopt);
  EXPECT_EQ(ChromaName(399), std::nullopt);
  EXPECT_EQ(ChromaName(500), std::nullopt);
}

TEST(CodeNames, Flips) {
  EXPECT_EQ(FlipName(0), "none");
  EXPECT_EQ(FlipName(1), "horizontal");
  EXPECT_EQ(FlipName(2), "vertical");
  EXPECT_EQ(FlipName(3), "both");
  EXPECT_EQ(FlipName(4), "none");
}

TEST(CodeNames, AudioProfilesBelongToTheirCodec) {
  EXPECT_EQ(AudioProfileName("aac", 1), "LC");
  EXPECT_EQ(AudioProfileName("aac_latm", 4), "HE-AAC");
  EXPECT_EQ(AudioProfileName("dts", 30), "DTS-ES");
  EXPECT_EQ(AudioProfileName("eac3", 30), "Dolby Digital Plus + Dolby Atmos");
  EXPECT_EQ(AudioProfileName("opus", 1), std::nullopt);
  EXPECT_EQ(AudioProfileName("aac", -99), std::nullopt);
}

TEST(CodeNames, FourCcStartsWithTheLeastSignificantByte) {
  EXPECT_EQ(FourCcText(0x2034504D), "MP4 ");
  EXPECT_EQ(FourCcText(0x0000001B), "[27][0][0][0]");
  EXPECT_EQ(FourCcText(0xFF7F1F7E), "~[31][127][255]");
  EXPECT_EQ(FourCcText(0), std::nullopt);
}

TEST(CodeNames, PictureTypes) {
  EXPECT_EQ(PictureTypeName(1), "JPEG");
  EXPECT_EQ(PictureTypeName(11), "camera raw");
  EXPECT_EQ(PictureTypeName(13), "SVG");
  EXPECT_EQ(PictureTypeName(99), std::nullopt);
  EXPECT_EQ(PictureTypeName(0), std::nullopt);
}

}  // namespace
}  // namespace mediaprobe
