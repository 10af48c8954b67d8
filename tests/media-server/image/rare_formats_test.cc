#include "media-server/image/rare_formats.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/zone.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using namespace imagecore;

using Reader = bool(IByteSource&, PictureHeaders&);
std::optional<PictureHeaders> Read(Reader reader, const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!reader(source, headers)) return std::nullopt;
  return headers;
}

/// `header` is 37 by 23 pixels of this code, and nothing when it is cut.
void ExpectSize(Reader reader, std::string_view code, const std::string& header) {
  const auto headers = Read(reader, header);
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->fourcc, FourCC(code));
  for (std::size_t size = 0; size < header.size(); ++size) EXPECT_FALSE(Read(reader, header.substr(0, size))) << size;
}

TEST(Farbfeld, SizeStandsBehindTheMagic) {
  ExpectSize(ReadFarbfeld, "FF  ", "farbfeld" + Be(37, 4) + Be(23, 4));
  EXPECT_EQ(Read(ReadFarbfeld, "farbfeld" + Be(37, 4) + Be(23, 4))->alpha, kAlphaStraight);
}

TEST(Dpx, ImageHeaderHasTheFilesByteOrder) {
  ExpectSize(ReadDpx, "DPX ", "SDPX" + Zeros(764) + Be(0, 2) + Be(1, 2) + Be(37, 4) + Be(23, 4));
  ExpectSize(ReadDpx, "DPX ", "XPDS" + Zeros(764) + Le(0, 2) + Le(1, 2) + Le(37, 4) + Le(23, 4));
}

TEST(Dpx, CreationDateStandsInTheFileHeader) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  constexpr std::int64_t kTime = 1536048672;  // 2018-09-04 08:11:12 UTC
  const auto created = [](std::string date) {
    date.resize(24);
    return Read(ReadDpx, "SDPX" + Zeros(132) + date + Zeros(608) + Be(0, 2) + Be(1, 2) + Be(37, 4) + Be(23, 4))
        ->metadata.created;
  };
  EXPECT_EQ(created("2018:09:04:10:11:12"), kTime);
  EXPECT_EQ(created("2018:09:04:10:11:12LTZ"), kTime);
  EXPECT_EQ(created("2018:09:04:08:11:12Z"), kTime);
  EXPECT_EQ(created("2018:09:04:13:11:12+05"), kTime);
  EXPECT_EQ(created("2018-09-04T10:11:12+02:"), kTime) << "as ISO 8601 has it, cut";
  EXPECT_EQ(created(""), std::nullopt);
  EXPECT_EQ(created(std::string(24, '\xff')), std::nullopt);
  EXPECT_EQ(created("2018:09:04"), std::nullopt);
}

TEST(Dpx, OrientationIsTheOrderOfPixels) {
  const Orientation expected[] = {{kFlipNone, 0},   {kFlipHorizontal, 0},   {kFlipVertical, 0},
                                  {kFlipNone, 180}, {kFlipHorizontal, 270}, {kFlipNone, 90},
                                  {kFlipNone, 270}, {kFlipHorizontal, 90}};
  for (std::uint16_t code = 0; code < 8; ++code) {
    const auto headers = Read(ReadDpx, "SDPX" + Zeros(764) + Be(code, 2) + Be(1, 2) + Be(37, 4) + Be(23, 4));
    EXPECT_EQ(headers->orientation, expected[code]) << code;
  }
  EXPECT_FALSE(Read(ReadDpx, "SDPX" + Zeros(764) + Be(0xFFFF, 2) + Be(1, 2) + Be(37, 4) + Be(23, 4))->orientation);
}

TEST(Dpx, AnElementIsAlphaOrHasIt) {
  const auto alpha_of = [](const std::string& descriptors, std::size_t count) {
    std::string elements;
    for (const char descriptor : descriptors) elements += Zeros(20) + descriptor + Zeros(51);
    return Read(ReadDpx, "SDPX" + Zeros(764) + Be(0, 2) + Be(count, 2) + Be(37, 4) + Be(23, 4) + elements)->alpha;
  };
  EXPECT_EQ(alpha_of("\x32", 1), kAlphaNone);  // RGB
  EXPECT_EQ(alpha_of("\x33", 1), kAlphaStraight);
  EXPECT_EQ(alpha_of("\x34", 1), kAlphaStraight);
  EXPECT_EQ(alpha_of("\x64", 1), kAlphaNone);  // CbYCrY
  EXPECT_EQ(alpha_of("\x65", 1), kAlphaStraight);
  EXPECT_EQ(alpha_of("\x67", 1), kAlphaStraight);
  EXPECT_EQ(alpha_of("\x01\x02\x03\x04", 4), kAlphaStraight);
  EXPECT_EQ(alpha_of("\x01\x02\x03\x04", 3), kAlphaNone);
  EXPECT_EQ(alpha_of("\x33", 0), kAlphaNone);
}

TEST(Xcf, CanvasStandsBehindTheVersion) { ExpectSize(ReadXcf, "XCF ", "gimp xcf v011\0"s + Be(37, 4) + Be(23, 4)); }

TEST(Ilbm, BitmapHeaderIsFoundBehindOtherChunks) {
  const std::string file = "FORM" + Be(100, 4) + "ILBM" + "ANNO" + Be(3, 4) + "abc\0"s;
  ExpectSize(ReadIlbm, "ILBM", file + "BMHD" + Be(20, 4) + Be(37, 2) + Be(23, 2) + Zeros(4) + "\x08\0"s);
  EXPECT_EQ(Read(ReadIlbm, file + "BMHD" + Be(20, 4) + Be(37, 2) + Be(23, 2) + Zeros(4) + "\x08\0"s)->alpha,
            kAlphaNone);
  EXPECT_EQ(Read(ReadIlbm, file + "BMHD" + Be(20, 4) + Be(37, 2) + Be(23, 2) + Zeros(4) + "\x08\1"s)->alpha,
            kAlphaStraight);
}

TEST(Ilbm, EndlessChunksAreReadWithinBounds) {
  std::string chunks = "FORM" + Be(100, 4) + "ILBM";
  for (int i = 0; i < 100000; ++i) chunks += "ANNO" + Zeros(4);
  MemorySource source(chunks);
  PictureHeaders headers;
  EXPECT_FALSE(ReadIlbm(source, headers));
  EXPECT_LE(source.BytesRead(), 16U * 1024);
}

std::string Sgi(std::uint16_t dimensions, std::uint16_t channels) {
  return "\x01\xda\1\1"s + Be(dimensions, 2) + Be(37, 2) + Be(23, 2) + Be(channels, 2);
}

TEST(Sgi, DimensionsSayWhichSizesCount) {
  ExpectSize(ReadSgi, "SGI ", Sgi(3, 3));
  EXPECT_EQ(Read(ReadSgi, Sgi(1, 4))->size, (PictureSize{37, 1}));
  EXPECT_EQ(Read(ReadSgi, Sgi(3, 3))->alpha, kAlphaNone);
  EXPECT_EQ(Read(ReadSgi, Sgi(3, 4))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadSgi, Sgi(3, 2))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadSgi, Sgi(2, 4))->alpha, kAlphaNone);
}

TEST(SunRaster, SizeStandsBehindTheMagic) {
  ExpectSize(ReadSunRaster, "RAS ", "\x59\xa6\x6a\x95" + Be(37, 4) + Be(23, 4));
}

TEST(Pcx, SizeIsTheWindow) {
  ExpectSize(ReadPcx, "PCX ", "\x0a\5\1\x08"s + Le(2, 2) + Le(3, 2) + Le(38, 2) + Le(25, 2));
  EXPECT_FALSE(Read(ReadPcx, "\x0a\5\1\x08"s + Le(2, 2) + Le(3, 2) + Le(1, 2) + Le(25, 2)));
}

TEST(Jng, HeaderChunkTellsSizeAndAlpha) {
  const std::string header = "\x8bJNG\r\n\x1a\n"s + Be(16, 4) + "JHDR" + Be(37, 4) + Be(23, 4);
  ExpectSize(ReadJng, "JNG ", header);
  EXPECT_EQ(Read(ReadJng, header + '\x0a')->alpha, kAlphaNone);
  EXPECT_EQ(Read(ReadJng, header + '\x0e')->alpha, kAlphaStraight);
}

TEST(Bpg, NumbersHaveSevenBitsAByte) {
  const std::string magic = "BPG\xfb"s;
  const std::string size = "\x25\x17\0\0\0\0\0\0\0\0"s;
  EXPECT_EQ(Read(ReadBpg, magic + "\x20\0"s + size)->size, (PictureSize{37, 23}));
  EXPECT_EQ(Read(ReadBpg, magic + "\x20\0\x87\x68\x8a\0"s + Zeros(6))->size, (PictureSize{1000, 1280}));
  EXPECT_EQ(Read(ReadBpg, magic + "\x20\0"s + size)->fourcc, FourCC("BPG "));
  EXPECT_FALSE(Read(ReadBpg, magic + "\x20\0\x87"s));
  EXPECT_EQ(Read(ReadBpg, magic + "\x20\0"s + size)->alpha, kAlphaNone);
  EXPECT_EQ(Read(ReadBpg, magic + "\x30\0"s + size)->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadBpg, magic + "\x30\4"s + size)->alpha, kAlphaPremultiplied);
}

}  // namespace
}  // namespace media_server::image
