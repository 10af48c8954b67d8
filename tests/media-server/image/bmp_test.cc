#include "media-server/image/bmp.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kFileHeader = "BM" + FromHex("766d0000 00000000 36000000");

/// A header of `header_size` bytes, 16 and more, up to the alpha mask where it is long enough.
std::string Header(unsigned header_size, std::uint32_t width, std::uint32_t height, unsigned bits = 24,
                   unsigned compression = 0, std::uint32_t alpha_mask = 0) {
  std::string header = Le(header_size, 4) + Le(width, 4) + Le(height, 4) + Le(1, 2) + Le(bits, 2) + Le(compression, 4) +
                       Zeros(20) + Le(0xFF0000, 4) + Le(0xFF00, 4) + Le(0xFF, 4) + Le(alpha_mask, 4);
  header.resize(std::max<std::size_t>(header_size, header.size()), '\0');
  return header;
}

TEST(Bmp, ReadsHeadersOfEveryLength) {
  for (const unsigned header_size : {16U, 40U, 52U, 56U, 64U, 108U, 124U}) {
    SCOPED_TRACE(header_size);
    const auto headers = ReadPicture(kFileHeader + Header(header_size, 122, 76));
    ExpectSize(headers, 122, 76);
    EXPECT_EQ(headers->type, imagecore::kPictureBmp);
    EXPECT_EQ(headers->fourcc, FourCC("BMP "));
    EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
    EXPECT_EQ(headers->bit_depth, 8);
    EXPECT_EQ(headers->chroma_sampling, codec::kChromaRgb);
  }
  const auto old = ReadPicture(kFileHeader + FromHex("0c000000 7a00 4c00 0100 1000"));
  ExpectSize(old, 122, 76);
  EXPECT_EQ(old->bit_depth, std::nullopt) << "16 bits a pixel are not alike for all components";
}

TEST(Bmp, TakesTheSignOffTheHeight) {
  ExpectSize(ReadPicture(kFileHeader + Header(40, 122, static_cast<std::uint32_t>(-76))), 122, 76);
  EXPECT_FALSE(ReadPicture(kFileHeader + Header(40, 122, 0x80000000))) << "the lowest number has no opposite";
  EXPECT_FALSE(ReadPicture(kFileHeader + Header(40, static_cast<std::uint32_t>(-122), 76)));
  EXPECT_FALSE(ReadPicture(kFileHeader + Header(40, 0, 76)));
}

TEST(Bmp, TellsAlphaFromItsMask) {
  constexpr std::uint32_t kMask = 0xFF000000;
  constexpr unsigned kBitFields = 3;
  constexpr unsigned kAlphaBitFields = 6;
  const auto alpha = [](const std::string& header) { return ReadPicture(kFileHeader + header)->alpha; };
  for (const unsigned header_size : {56U, 108U, 124U}) {
    EXPECT_EQ(alpha(Header(header_size, 1, 1, 32, kBitFields, kMask)), imagecore::kAlphaStraight);
    EXPECT_EQ(alpha(Header(header_size, 1, 1, 32, kBitFields, 0)), imagecore::kAlphaNone);
  }
  EXPECT_EQ(alpha(Header(56, 1, 1, 16, kBitFields, 0x8000)), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(Header(124, 1, 1, 24, 0, kMask)), imagecore::kAlphaNone) << "24 bits leave none for alpha";
  EXPECT_EQ(alpha(Header(40, 1, 1, 32, kAlphaBitFields, kMask)), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(Header(40, 1, 1, 32, kBitFields, kMask)), imagecore::kAlphaNone) << "what follows is colours";
  EXPECT_EQ(alpha(Header(52, 1, 1, 32, kBitFields, kMask)), imagecore::kAlphaNone) << "what follows is colours";
  EXPECT_EQ(alpha(Header(64, 1, 1, 32, 0, kMask)), imagecore::kAlphaNone) << "OS/2 has no masks";
}

TEST(Bmp, TellsTheSameSizeHoweverEarlyTheFileEnds) {
  ExpectSameSizeOfEveryPrefix(kFileHeader + Header(124, 122, 76), 14 + 16);
  ExpectSameSizeOfEveryPrefix(kFileHeader + FromHex("0c000000 7a00 4c00 0100 1800") + Zeros(9), 14 + 12);
}

TEST(Bmp, ReadsNoPixels) {
  SparseSource source(std::uint64_t{1} << 32);
  source.Put(0, kFileHeader + Header(40, 40000, 30000));
  std::string reason;
  ExpectSize(ReadPictureHeaders(source, &reason), 40000, 30000);
  EXPECT_LE(source.BytesRead(), 8192U);
}

}  // namespace
}  // namespace media_server::image
