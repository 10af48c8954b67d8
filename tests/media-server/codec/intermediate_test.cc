#include "media-server/codec/intermediate.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

std::uint32_t Tag(std::string_view letters) {
  std::uint32_t tag = 0;
  for (std::size_t i = 0; i < 4; ++i) tag |= std::uint32_t{static_cast<unsigned char>(letters[i])} << 8 * i;
  return tag;
}

void ExpectFormat(const std::optional<PictureParameters>& picture, int chroma, int depth, bool alpha) {
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->chroma_sampling, chroma);
  EXPECT_EQ(picture->bit_depth, depth);
  EXPECT_EQ(picture->alpha, alpha);
}

TEST(UtVideo, IsNamedAfterItsFormat) {
  ExpectFormat(UtVideoFormat(Tag("ULY0")), 420, 8, false);
  ExpectFormat(UtVideoFormat(Tag("ULH2")), 422, 8, false);
  ExpectFormat(UtVideoFormat(Tag("UMY4")), 444, 8, false);
  ExpectFormat(UtVideoFormat(Tag("UQY2")), 422, 10, false);
  ExpectFormat(UtVideoFormat(Tag("ULRG")), kChromaRgb, 8, false);
  ExpectFormat(UtVideoFormat(Tag("UQRA")), kChromaRgb, 10, true);
}

TEST(UtVideo, IsNamedAfterItsMatrix) {
  EXPECT_EQ(UtVideoFormat(Tag("ULY0"))->color, (ColorDescription{{}, {}, 5, {}}));
  EXPECT_EQ(UtVideoFormat(Tag("UMH4"))->color, (ColorDescription{{}, {}, 1, {}}));
  EXPECT_EQ(UtVideoFormat(Tag("UQY2"))->color, ColorDescription{}) << "either one";
  EXPECT_EQ(UtVideoFormat(Tag("ULRG"))->color, ColorDescription{});
}

TEST(UtVideo, HasNoFormatUnderAnotherName) {
  EXPECT_FALSE(UtVideoFormat(Tag("ULXX")));
  EXPECT_FALSE(UtVideoFormat(Tag("UXY2")));
  EXPECT_FALSE(UtVideoFormat(Tag("XLY2")));
  EXPECT_FALSE(UtVideoFormat(0));
}

TEST(HuffYuv, TellsTheBitsOfAPixelInItsHeader) {
  ExpectFormat(HuffYuvFormat(Hex("00 10 10 00"), 24), 422, 8, false);
  ExpectFormat(HuffYuvFormat(Hex("00 0c 10 00"), 24), 420, 8, false);
  ExpectFormat(HuffYuvFormat(Hex("40 18 00 00"), 16), kChromaRgb, 8, false);
  ExpectFormat(HuffYuvFormat(Hex("40 20 00 00"), 16), kChromaRgb, 8, true);
  EXPECT_FALSE(HuffYuvFormat(Hex("40 0f 00 00"), 16));
}

TEST(HuffYuv, WithoutThemHasThoseOfTheContainer) {
  ExpectFormat(HuffYuvFormat(Hex("00 00 10 00"), 16), 422, 8, false);
  ExpectFormat(HuffYuvFormat({}, 24), kChromaRgb, 8, false);
  ExpectFormat(HuffYuvFormat(Hex("00 18 10 00"), 16 + 2), 422, 8, false);
  EXPECT_FALSE(HuffYuvFormat({}, 0));
  EXPECT_FALSE(HuffYuvFormat(Hex("00 10"), 0));
}

TEST(HuffYuv, TellsItsPlanesInTheThirdVersion) {
  ExpectFormat(HuffYuvFormat(Hex("00 75 03 01"), 24), 420, 8, false);
  ExpectFormat(HuffYuvFormat(Hex("00 91 07 01"), 24), 422, 10, true);
  ExpectFormat(HuffYuvFormat(Hex("00 b0 02 01"), 24), kChromaRgb, 12, false);
  ExpectFormat(HuffYuvFormat(Hex("00 f0 00 01"), 24), 400, 16, false);
  EXPECT_FALSE(HuffYuvFormat(Hex("00 73 03 01"), 24)) << "no such sampling";
  EXPECT_FALSE(HuffYuvFormat(Hex("00 78 03 01"), 24)) << "no such sampling";
}

TEST(MagicYuv, TellsItsFormatInEachFrame) {
  ExpectFormat(ReadMagicYuvFrame(Hex("4d414759 20000000 07 69")), 420, 8, false);
  ExpectFormat(ReadMagicYuvFrame(Hex("4d414759 20000000 07 6c 00 00")), 422, 10, false);
  ExpectFormat(ReadMagicYuvFrame(Hex("4d414759 20000000 07 66")), kChromaRgb, 8, true);
}

TEST(MagicYuv, OfAnotherKindTellsNothing) {
  EXPECT_FALSE(ReadMagicYuvFrame(Hex("4d414759 20000000 07 64")));
  EXPECT_FALSE(ReadMagicYuvFrame(Hex("4d414759 20000000 06 69")));
  EXPECT_FALSE(ReadMagicYuvFrame(Hex("4d414758 20000000 07 69")));
  EXPECT_FALSE(ReadMagicYuvFrame(Hex("4d414759 20000000 07")));
}

}  // namespace
}  // namespace media_server::codec
