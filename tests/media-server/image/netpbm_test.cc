#include "media-server/image/netpbm.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::optional<PictureHeaders> Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!ReadNetpbm(source, headers)) return std::nullopt;
  return headers;
}

TEST(Netpbm, WidthStandsBeforeHeight) {
  for (const char* kind : {"P1", "P2", "P3", "P4", "P5", "P6", "PF", "Pf"}) {
    const auto headers = Read(kind + "\n37 23\n255\n"s);
    ASSERT_TRUE(headers) << kind;
    EXPECT_EQ(headers->size, (PictureSize{37, 23})) << kind;
    EXPECT_EQ(headers->alpha, imagecore::kAlphaNone) << kind;
  }
}

TEST(Netpbm, CodeIsThatOfTheFormat) {
  EXPECT_EQ(Read("P1 1 1\n1")->fourcc, FourCC("PBM "));
  EXPECT_EQ(Read("P5 1 1\n1")->fourcc, FourCC("PGM "));
  EXPECT_EQ(Read("P6 1 1\n1")->fourcc, FourCC("PPM "));
  EXPECT_EQ(Read("Pf 1 1\n1")->fourcc, FourCC("PFM "));
  EXPECT_EQ(Read("P7\nWIDTH 1\nHEIGHT 1\nENDHDR\n")->fourcc, FourCC("PAM "));
}

TEST(Netpbm, CommentsMayStandAnywhere) {
  EXPECT_EQ(Read("P5 # 1 2\n#3\n\t37# 4\r\n# 5\n 23#\n")->size, (PictureSize{37, 23}));
  EXPECT_EQ(Read("P6\n#" + std::string(60000, 'x') + "\n37 23\n")->size, (PictureSize{37, 23}));
  EXPECT_FALSE(Read("P6\n#" + std::string(70000, 'x') + "\n37 23\n"));
}

TEST(Netpbm, ArbitraryMapsHaveLinesInAnyOrder) {
  const auto headers = Read("P7\n# WIDTH 9\nHEIGHT 23\nMAXVAL 255\nWIDTH 37\nDEPTH 4\nTUPLTYPE RGB_ALPHA\nENDHDR\n");
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read("P7\nWIDTH 1\nHEIGHT 1\nTUPLTYPE RGB\nENDHDR\n")->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read("P7\nWIDTH 1\nHEIGHT 1\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n")->alpha, imagecore::kAlphaStraight);
}

TEST(Netpbm, WhatIsNoNumberOrMissingIsNone) {
  for (const char* text : {"", "P", "P5", "P5 37", "P5 37 23", "P5 -37 23 ", "P5 37x 23 ", "P5 99999999999 23 ",
                           "P7\nWIDTH 37\nENDHDR\n", "P7\nWIDTH 37\nHEIGHT 23\n", "P7\nWIDTH\nHEIGHT 23\nENDHDR\n"}) {
    EXPECT_FALSE(Read(text)) << text;
  }
}

TEST(Netpbm, UsualHeaderTakesOneShortRead) {
  MemorySource source("P6 37 23 255\n" + Zeros(1 << 20));
  PictureHeaders headers;
  EXPECT_TRUE(ReadNetpbm(source, headers));
  EXPECT_EQ(source.BytesRead(), 512U);
}

}  // namespace
}  // namespace media_server::image
