#include "media-server/codec/image_size.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

std::optional<PictureParameters> Read(const std::string& hex) { return ReadImageSize(Hex(hex.c_str())); }

void ExpectSize(const std::optional<PictureParameters>& picture, std::uint32_t width, std::uint32_t height) {
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, width);
  EXPECT_EQ(picture->height, height);
}

const std::string kApp0 = "ffe0 0004 4a46";
const std::string kPng = "89504e470d0a1a0a 0000000d 49484452 0000007a 0000004c ";

TEST(ImageSize, ReadsTheFrameHeaderOfAJpeg) {
  const auto picture = Read("ffd8 " + kApp0 + "ffc2 0011 08 004c 007a 03 012200 021101 031101");
  ExpectSize(picture, 122, 76);
  EXPECT_EQ(picture->bit_depth, 8);
  EXPECT_EQ(picture->chroma_sampling, 420);
  EXPECT_EQ(picture->alpha, false);
}

TEST(ImageSize, TakesJpegChromaFromTheRatioOfTheFactors) {
  const auto chroma = [](const std::string& components) {
    return Read("ffd8 ffc0 0011 08 004c 007a " + components)->chroma_sampling;
  };
  EXPECT_EQ(chroma("01 011100"), kChroma400);
  EXPECT_EQ(chroma("03 011100 021100 031100"), kChroma444);
  EXPECT_EQ(chroma("03 012100 022100 032100"), kChroma444);
  EXPECT_EQ(chroma("03 012200 021200 031200"), kChroma422);
  EXPECT_EQ(chroma("03 011200 021100 031100"), kChroma440);
  EXPECT_EQ(chroma("03 014100 021100 031100"), kChroma411);
  EXPECT_EQ(chroma("03 012200 021100 032200"), std::nullopt);
  EXPECT_EQ(chroma("03 012200 020000 030000"), std::nullopt);
}

TEST(ImageSize, SkipsFillBytesAndTablesOfAJpeg) {
  ExpectSize(Read("ffd8 ffffff c4 0004 0000 ffc1 000b 0c 0001 ffff 01 011100"), 65535, 1);
}

TEST(ImageSize, RefusesAJpegWithoutFrameBeforeItsScan) {
  EXPECT_FALSE(Read("ffd8 ffda 0002 ffc0 0011 08 004c 007a 01 011100"));
  EXPECT_FALSE(Read("ffd8 " + kApp0));
  EXPECT_FALSE(Read("ffd8 ffe0 0001 ffc0 0011 08 004c 007a 01 011100")) << "a length below its own size";
  EXPECT_FALSE(Read("ffd8 ffc0 0011 08 0000 007a 01 011100")) << "height told by a later marker";
}

TEST(ImageSize, ReadsPngHeaders) {
  const auto deep = Read(kPng + "10 06");
  ExpectSize(deep, 122, 76);
  EXPECT_EQ(deep->bit_depth, 16);
  EXPECT_EQ(deep->chroma_sampling, kChromaRgb);
  EXPECT_EQ(deep->alpha, true);
  const auto gray = Read(kPng + "01 00");
  EXPECT_EQ(gray->bit_depth, 1);
  EXPECT_EQ(gray->chroma_sampling, kChroma400);
  EXPECT_EQ(gray->alpha, false);
  const auto palette = Read(kPng + "02 03");
  EXPECT_EQ(palette->bit_depth, 8);
  EXPECT_EQ(palette->chroma_sampling, kChromaRgb);
  EXPECT_EQ(palette->alpha, std::nullopt);
  EXPECT_FALSE(Read(kPng + "10"));
  EXPECT_FALSE(Read(kPng + "03 00")) << "no such depth";
  EXPECT_FALSE(Read("89504e470d0a1a0a 0000000d 43674249 0000007a 0000004c 08 02"));
}

TEST(ImageSize, ReadsGifHeaders) {
  ExpectSize(Read("474946383961 7a00 4c00 f7"), 122, 76);
  ExpectSize(Read("474946383761 7a00 4c00"), 122, 76);
  EXPECT_FALSE(Read("474946383961 7a00 4c"));
}

TEST(ImageSize, ReadsBmpHeadersOldAndUpsideDown) {
  const std::string file_header = "424d 766d0000 00000000 36000000 ";
  ExpectSize(Read(file_header + "28000000 7a000000 4c000000 0100 1800"), 122, 76);
  ExpectSize(Read(file_header + "28000000 7a000000 b4ffffff 0100 1800"), 122, 76);
  const auto old = Read(file_header + "0c000000 7a00 4c00 0100 1000");
  ExpectSize(old, 122, 76);
  EXPECT_EQ(old->bit_depth, std::nullopt) << "16 bits a pixel are not alike for all components";
  EXPECT_FALSE(Read(file_header + "28000000 7a000000 4c000000 0100"));
}

TEST(ImageSize, ReadsTheThreeKindsOfWebp) {
  const auto lossy = Read("52494646 6a070000 57454250 56503820 4e070000 d02400 9d012a 7a00 4c40");
  ExpectSize(lossy, 122, 76);
  EXPECT_EQ(lossy->chroma_sampling, kChroma420);
  const auto lossless = Read("52494646 aa110000 57454250 5650384c 9e110000 2f 79c01210");
  ExpectSize(lossless, 122, 76);
  EXPECT_EQ(lossless->alpha, true);
  const auto extended = Read("52494646 64070000 57454250 56503858 0a000000 10000000 790000 4b0000");
  ExpectSize(extended, 122, 76);
  EXPECT_EQ(extended->alpha, true);
  EXPECT_FALSE(Read("52494646 64070000 57415645 56503858 0a000000 10000000 790000 4b0000")) << "WAVE";
  EXPECT_FALSE(Read("52494646 64070000 57454250 56503858 0a000000 10000000 790000 4b00"));
}

TEST(ImageSize, RefusesOtherFormats) {
  EXPECT_FALSE(Read(""));
  EXPECT_FALSE(Read("49492a00 08000000"));
}

}  // namespace
}  // namespace media_server::codec
