#include "media-server/image/targa.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Header(char descriptor) {
  return "\0\0\2"s                // no identifier, no colour map, true colour
         + Zeros(5) + Zeros(4)    // colour map, origin
         + Le(37, 2) + Le(23, 2)  // size
         + "\x20"s + descriptor;
}

/// The header, an extension area with this type of attributes, the footer.
std::string WithExtension(char descriptor, char attributes_type) {
  return Header(descriptor) + Le(495, 2) + Zeros(492) + attributes_type  //
         + Le(18, 4) + Le(0, 4) + "TRUEVISION-XFILE.\0"s;
}

std::optional<PictureHeaders> Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!ReadTarga(source, headers)) return std::nullopt;
  return headers;
}

TEST(Targa, HeaderTellsTheSize) {
  const auto headers = Read(Header(0));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->type, imagecore::kPictureOther);
  EXPECT_EQ(headers->fourcc, FourCC("TGA "));
  EXPECT_FALSE(headers->orientation);
}

TEST(Targa, AttributeBitsAreAlphaWhereNothingElseIsSaid) {
  EXPECT_EQ(Read(Header(0x20))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(0x28))->alpha, imagecore::kAlphaStraight);
}

TEST(Targa, ExtensionAreaSaysWhatAttributeBitsAre) {
  EXPECT_EQ(Read(WithExtension(8, 0))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(WithExtension(8, 1))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(WithExtension(8, 2))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(WithExtension(8, 3))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(WithExtension(8, 4))->alpha, imagecore::kAlphaPremultiplied);
  EXPECT_EQ(Read(WithExtension(0, 4))->alpha, imagecore::kAlphaNone);
}

TEST(Targa, FooterWithoutExtensionAreaSaysNothing) {
  EXPECT_EQ(Read(Header(8) + Le(0, 8) + "TRUEVISION-XFILE.\0"s)->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(8) + Le(0xFFFFFFFF, 8) + "TRUEVISION-XFILE.\0"s)->alpha, imagecore::kAlphaStraight);
}

TEST(Targa, HeaderThatIsCutIsNone) {
  for (std::size_t size = 0; size < 18; ++size) EXPECT_FALSE(Read(Header(0).substr(0, size))) << size;
}

}  // namespace
}  // namespace media_server::image
