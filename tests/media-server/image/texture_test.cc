#include "media-server/image/texture.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using namespace imagecore;

std::string Dds(std::uint32_t pixel_flags, const std::string& fourcc) {
  return "DDS " + Le(124, 4) + Le(0x1007, 4)        // magic, size, flags
         + Le(23, 4) + Le(37, 4)                    // height, width
         + Zeros(4 * 3) + Zeros(4 * 11)             // pitch, depth, mip maps, reserved
         + Le(32, 4) + Le(pixel_flags, 4) + fourcc  // pixel format
         + Zeros(4 * 5) + Zeros(4 * 5);             // bits and masks, capabilities
}

std::string Dx10(std::uint32_t format, std::uint32_t alpha_mode) {
  return Dds(4, "DX10") + Le(format, 4) + Le(3, 4) + Le(0, 4) + Le(1, 4)  // two dimensions, one texture
         + Le(alpha_mode, 4);
}

using Reader = bool(IByteSource&, PictureHeaders&);
std::optional<PictureHeaders> Read(Reader reader, const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!reader(source, headers)) return std::nullopt;
  return headers;
}

TEST(Dds, HeaderTellsSizeAndCode) {
  const auto headers = Read(ReadDds, Dds(4, "DXT1"));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->fourcc, FourCC("DXT1"));
  EXPECT_EQ(headers->alpha, kAlphaNone);
}

TEST(Dds, SurfaceWithoutCodeIsCalledAfterTheFormat) {
  EXPECT_EQ(Read(ReadDds, Dds(0x40, "DXT1"))->fourcc, FourCC("DDS "));
  EXPECT_EQ(Read(ReadDds, Dds(4, Le(113, 4)))->fourcc, FourCC("DDS "));  // D3DFMT_A16B16G16R16F
}

TEST(Dds, AlphaIsToldByFlagsAndCodes) {
  EXPECT_EQ(Read(ReadDds, Dds(0x40, Zeros(4)))->alpha, kAlphaNone);
  EXPECT_EQ(Read(ReadDds, Dds(0x41, Zeros(4)))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadDds, Dds(0x02, Zeros(4)))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadDds, Dds(5, "DXT1"))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadDds, Dds(4, "DXT2"))->alpha, kAlphaPremultiplied);
  EXPECT_EQ(Read(ReadDds, Dds(4, "DXT3"))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadDds, Dds(4, "DXT4"))->alpha, kAlphaPremultiplied);
  EXPECT_EQ(Read(ReadDds, Dds(4, "DXT5"))->alpha, kAlphaStraight);
}

TEST(Dds, NumbersOfDirect3dTellAlpha) {
  EXPECT_EQ(Read(ReadDds, Dds(4, Le(36, 4)))->alpha, kAlphaStraight);   // D3DFMT_A16B16G16R16
  EXPECT_EQ(Read(ReadDds, Dds(4, Le(113, 4)))->alpha, kAlphaStraight);  // D3DFMT_A16B16G16R16F
  EXPECT_EQ(Read(ReadDds, Dds(4, Le(116, 4)))->alpha, kAlphaStraight);  // D3DFMT_A32B32G32R32F
  EXPECT_EQ(Read(ReadDds, Dds(4, Le(115, 4)))->alpha, kAlphaNone);      // D3DFMT_G32R32F
  EXPECT_EQ(Read(ReadDds, Dds(0x40, Le(113, 4)))->alpha, kAlphaNone);
}

TEST(Dds, ExtendedHeaderTellsAlphaByModeThenByFormat) {
  EXPECT_EQ(Read(ReadDds, Dx10(98, 1))->alpha, kAlphaStraight);
  EXPECT_EQ(Read(ReadDds, Dx10(98, 2))->alpha, kAlphaPremultiplied);
  EXPECT_EQ(Read(ReadDds, Dx10(98, 3))->alpha, kAlphaNone);
  EXPECT_EQ(Read(ReadDds, Dx10(98, 4))->alpha, kAlphaNone);      // no transparency, whatever it is
  EXPECT_EQ(Read(ReadDds, Dx10(98, 0))->alpha, kAlphaStraight);  // BC7
  EXPECT_EQ(Read(ReadDds, Dx10(71, 0))->alpha, kAlphaNone);      // BC1
  for (const std::uint32_t format : {1U, 14U, 65U, 89U, 102U, 111U, 112U, 114U, 115U, 191U}) {
    EXPECT_EQ(Read(ReadDds, Dx10(format, 0))->alpha, kAlphaStraight) << format;
  }
  for (const std::uint32_t format : {5U, 26U, 66U, 88U, 92U, 96U, 103U, 110U, 113U, 116U}) {
    EXPECT_EQ(Read(ReadDds, Dx10(format, 0))->alpha, kAlphaNone) << format;
  }
  EXPECT_FALSE(Read(ReadDds, Dds(4, "DX10"))->alpha);
}

TEST(Dds, HeaderThatIsCutIsNone) {
  const std::string header = Dds(4, "DXT1");
  for (std::size_t size = 0; size < header.size(); ++size) EXPECT_FALSE(Read(ReadDds, header.substr(0, size))) << size;
}

TEST(Ktx, FirstVersionHasItsOwnByteOrder) {
  const std::string magic = "\xabKTX 11\xbb\r\n\x1a\n"s;
  EXPECT_EQ(Read(ReadKtx, magic + Le(0x04030201, 4) + Zeros(4 * 5) + Le(37, 4) + Le(23, 4))->size,
            (PictureSize{37, 23}));
  EXPECT_EQ(Read(ReadKtx, magic + Be(0x04030201, 4) + Zeros(4 * 5) + Be(37, 4) + Be(23, 4))->size,
            (PictureSize{37, 23}));
  EXPECT_EQ(Read(ReadKtx, magic + Le(0x04030201, 4) + Zeros(4 * 5) + Le(37, 4) + Le(23, 4))->fourcc, FourCC("KTX "));
  EXPECT_FALSE(Read(ReadKtx, magic + Le(0x04030201, 4) + Zeros(4 * 5) + Le(37, 4)));
}

TEST(Ktx, SecondVersionIsLittleEndian) {
  const std::string magic = "\xabKTX 20\xbb\r\n\x1a\n"s;
  const std::string header = magic + Le(37, 4) + Le(1, 4);  // format, size of the type
  EXPECT_EQ(Read(ReadKtx, header + Le(37, 4) + Le(23, 4) + Zeros(16))->size, (PictureSize{37, 23}));
  EXPECT_EQ(Read(ReadKtx, header + Le(37, 4) + Le(0, 4) + Zeros(16))->size, (PictureSize{37, 1}));
  EXPECT_FALSE(Read(ReadKtx, header + Le(37, 4)));
}

TEST(Ktx, BaseFormatOfTheFirstVersionTellsAlpha) {
  const auto alpha_of = [](std::uint32_t base_format) {
    const std::string header = "\xabKTX 11\xbb\r\n\x1a\n"s + Be(0x04030201, 4) + Zeros(4 * 4);
    return Read(ReadKtx, header + Be(base_format, 4) + Be(37, 4) + Be(23, 4))->alpha;
  };
  EXPECT_EQ(alpha_of(0x1907), kAlphaNone);      // GL_RGB
  EXPECT_EQ(alpha_of(0x1908), kAlphaStraight);  // GL_RGBA
  EXPECT_EQ(alpha_of(0x190A), kAlphaStraight);  // GL_LUMINANCE_ALPHA
  EXPECT_EQ(alpha_of(0x1906), kAlphaStraight);  // GL_ALPHA
}

TEST(Ktx, DescriptorOfTheSecondVersionTellsAlpha) {
  const auto alpha_of = [](std::uint8_t model, std::uint8_t flags, const std::string& channels) {
    std::string samples;
    for (const char channel : channels) samples += Zeros(3) + channel + Zeros(12);
    return Read(ReadKtx, "\xabKTX 20\xbb\r\n\x1a\n"s + Le(37, 4) + Le(1, 4) + Le(37, 4) + Le(23, 4) + Zeros(5 * 4)  //
                             + Le(56, 4) + Le(28 + samples.size(), 4)  // descriptor
                             + Le(28 + samples.size(), 4) + Zeros(4)   // size, vendor
                             + Le(2, 2) + Le(24 + samples.size(), 2)   // version, size
                             + Le(model, 1) + Zeros(2) + Le(flags, 1) + Zeros(12) + samples + "\0\0\0\x0f"s + Zeros(12))
        ->alpha;
  };
  EXPECT_EQ(alpha_of(1, 0, "\0\1\2"s), kAlphaNone);  // RGB; what lies behind is no channel
  EXPECT_EQ(alpha_of(1, 0, "\0\1\2\x0f"s), kAlphaStraight);
  EXPECT_EQ(alpha_of(1, 1, "\0\1\2\x0f"s), kAlphaPremultiplied);
  EXPECT_EQ(alpha_of(1, 0, "\0\1\2\x1f"s), kAlphaStraight);  // linear, with a transfer function for colours
  EXPECT_EQ(alpha_of(128, 0, "\0"s), kAlphaNone);            // BC1
  EXPECT_EQ(alpha_of(128, 0, "\1"s), kAlphaStraight);
  EXPECT_EQ(alpha_of(166, 0, "\0"s), kAlphaNone);  // UASTC
  EXPECT_EQ(alpha_of(166, 0, "\3"s), kAlphaStraight);
  const std::string cut = "\xabKTX 20\xbb\r\n\x1a\n"s + Zeros(8) + Le(37, 4) + Le(23, 4) + Zeros(5 * 4) + Le(56, 4);
  EXPECT_FALSE(Read(ReadKtx, cut)->alpha);
}

}  // namespace
}  // namespace media_server::image
