#include "media-server/image/jpeg_xr.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace imagecore;

constexpr std::uint16_t kPixelFormat = 0xBC01;
constexpr std::uint16_t kTransformation = 0xBC02;
constexpr std::uint16_t kWidth = 0xBC80;
constexpr std::uint16_t kHeight = 0xBC81;

const TiffBuilder kNumbers;

/// 37 by 23 pixels, and other fields.
std::string File(std::vector<TiffBuilder::Field> fields) {
  fields.push_back(kNumbers.Long(kWidth, 37));
  fields.push_back(kNumbers.Short(kHeight, 23));
  TiffBuilder builder;
  builder.SetMagic("\xBC\x01");
  builder.Add(std::move(fields));
  return builder.Bytes();
}

std::optional<AlphaMode> AlphaOf(const std::string& guid) {
  return ReadPicture(File({TiffBuilder::Raw(kPixelFormat, 1, FromHex(guid))}))->alpha;
}

TEST(JpegXr, DirectoryTellsTheSize) {
  const auto headers = ReadPicture(File({}));
  ExpectSize(headers, 37, 23);
  EXPECT_EQ(headers->fourcc, FourCC("JXR "));
  EXPECT_EQ(headers->alpha, kAlphaNone);
  EXPECT_FALSE(headers->orientation);
  TiffBuilder without_height;
  without_height.SetMagic("\xBC\x01");
  without_height.Add({kNumbers.Long(kWidth, 37)});
  EXPECT_FALSE(ReadPicture(without_height.Bytes()));
  EXPECT_FALSE(ReadPicture(File({}).substr(0, 9)));
}

TEST(JpegXr, PixelFormatTellsAlpha) {
  const std::string start = "24c3dd6f034efe4bb1853d77768dc9";
  EXPECT_EQ(AlphaOf(start + "0c"), kAlphaNone);  // 24 bits, BGR
  EXPECT_EQ(AlphaOf(start + "0f"), kAlphaStraight);
  EXPECT_EQ(AlphaOf(start + "10"), kAlphaPremultiplied);
  EXPECT_EQ(AlphaOf(start + "17"), kAlphaPremultiplied);
  EXPECT_EQ(AlphaOf(start + "1a"), kAlphaPremultiplied);
  EXPECT_EQ(AlphaOf(start + "1c"), kAlphaNone);  // CMYK
  EXPECT_EQ(AlphaOf(start + "2b"), kAlphaNone);  // eight channels
  EXPECT_EQ(AlphaOf(start + "2c"), kAlphaStraight);
  EXPECT_EQ(AlphaOf(start + "39"), kAlphaStraight);
  EXPECT_EQ(AlphaOf(start + "3a"), kAlphaStraight);
  EXPECT_EQ(AlphaOf(start + "3b"), kAlphaNone);  // RGB in half floats
  EXPECT_EQ(AlphaOf("25c3dd6f034efe4bb1853d77768dc90f"), kAlphaNone);
  EXPECT_EQ(AlphaOf(start), kAlphaNone);
}

TEST(JpegXr, TransformationIsATurnThenFlips) {
  const Orientation expected[] = {{kFlipVertical, 0},    {kFlipHorizontal, 0},   {kFlipNone, 180}, {kFlipNone, 90},
                                  {kFlipHorizontal, 90}, {kFlipHorizontal, 270}, {kFlipNone, 270}};
  for (std::uint32_t code = 1; code < 8; ++code) {
    EXPECT_EQ(ReadPicture(File({kNumbers.Long(kTransformation, code)}))->orientation, expected[code - 1]) << code;
  }
  EXPECT_FALSE(ReadPicture(File({kNumbers.Long(kTransformation, 0)}))->orientation);
  EXPECT_FALSE(ReadPicture(File({kNumbers.Long(kTransformation, 8)}))->orientation);
}

TEST(JpegXr, HasExifAndXmpInItsDirectory) {
  const auto headers =
      ReadPicture(File({TiffBuilder::Raw(0x02BC, 1, "<x:xmpmeta/>"), TiffBuilder::Ascii(0x010F, "Maker")}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->metadata.xmp, "<x:xmpmeta/>");
  ASSERT_NE(headers->metadata.exif_values.Find(ExifDirectory::kImage, kExifMake), nullptr);
}

}  // namespace
}  // namespace media_server::image
