#include "media-server/image/jpeg_2000.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/container/mp4_builder.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Signature() { return Box("jP  ", "\x0d\x0a\x87\x0a"); }
std::string FileType() { return Box("ftyp", "jp2 " + Zeros(4) + "jp2 "); }

std::string ImageHeader(std::uint32_t width, std::uint32_t height, unsigned components) {
  return Box("ihdr", Be(height, 4) + Be(width, 4) + Be(components, 2)  //
                         + Be(7, 1) + Be(7, 1) + Be(0, 2));            // 8 bits, compression, colours, no rights
}

/// Enumerated: 16 is sRGB, 17 grey, 12 CMYK.
std::string Colours(std::uint32_t space) { return Box("colr", Be(1, 1) + Be(0, 2) + Be(space, 4)); }

/// Types of the channels: 0 colour, 1 opacity, 2 premultiplied opacity.
std::string Channels(const std::vector<unsigned>& types) {
  std::string entries;
  for (std::size_t i = 0; i < types.size(); ++i) entries += Be(i, 2) + Be(types[i], 2) + Be(0, 2);
  return Box("cdef", Be(types.size(), 2) + entries);
}

/// Of a component: its depth less one, and how many columns and lines have a sample.
std::string Component(unsigned depth_less_one, unsigned columns, unsigned lines) {
  return Be(depth_less_one, 1) + Be(columns, 1) + Be(lines, 1);
}

std::string Codestream(std::uint32_t right, std::uint32_t bottom, std::uint32_t left, std::uint32_t top,
                       const std::string& components = Component(0, 0, 0)) {
  return Be(0xFF4FFF51, 4) + Be(41, 2) + Be(0, 2)                   // start, SIZ, length, capabilities
         + Be(right, 4) + Be(bottom, 4) + Be(left, 4) + Be(top, 4)  //
         + Be(right, 4) + Be(bottom, 4) + Zeros(8)                  // tiles
         + Be(components.size() / 3, 2) + components;
}

std::string Jp2(const std::string& header, const std::string& behind = "") {
  return Signature() + FileType() + Box("jp2h", header) + behind;
}

PictureHeaders Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadJpeg2000(source, headers));
  EXPECT_LE(source.BytesRead(), 256 * 1024U);
  return headers;
}

bool IsRefused(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  return !ReadJpeg2000(source, headers);
}

std::string TextOf(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

TEST(Jpeg2000, TheImageHeaderTellsTheSize) {
  const PictureHeaders headers = Read(Jp2(ImageHeader(92, 125, 3) + Colours(16)));
  EXPECT_EQ(headers.type, imagecore::kPictureOther);
  EXPECT_EQ(headers.fourcc, FourCC("jp2 "));
  EXPECT_EQ(headers.size, (PictureSize{92, 125}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
  EXPECT_FALSE(headers.orientation);
}

TEST(Jpeg2000, ABareCodestreamLiesAtAnOffsetOfItsGrid) {
  const PictureHeaders headers = Read(Codestream(110, 66, 40, 20));
  EXPECT_EQ(headers.fourcc, FourCC("j2k "));
  EXPECT_EQ(headers.size, (PictureSize{70, 46}));
  EXPECT_FALSE(headers.alpha) << "it does not tell what its components mean";
}

TEST(Jpeg2000, ComponentsOfABareCodestreamTellDepthAndChroma) {
  const auto read = [](const std::string& components) {
    const PictureHeaders headers = Read(Codestream(70, 46, 0, 0, components));
    return std::pair(headers.bit_depth, headers.chroma_sampling);
  };
  using Told = std::pair<std::optional<int>, std::optional<int>>;
  const std::string luma = Component(9, 1, 1);
  EXPECT_EQ(read(luma), Told(10, 400));
  EXPECT_EQ(read(luma + luma), Told(10, 400)) << "the second is no colour";
  EXPECT_EQ(read(luma + Component(9, 2, 2) + Component(9, 2, 2)), Told(10, 420));
  EXPECT_EQ(read(luma + Component(9, 2, 1) + Component(9, 2, 1) + luma), Told(10, 422));
  EXPECT_EQ(read(luma + Component(9, 4, 1) + Component(9, 4, 1)), Told(10, 411));
  EXPECT_EQ(read(luma + luma + luma), Told(10, std::nullopt)) << "they may be RGB, XYZ or others";
  EXPECT_EQ(read(luma + Component(9, 2, 2) + Component(9, 2, 1)), Told(10, std::nullopt));
  EXPECT_EQ(read(Component(0x87, 1, 1)), Told(8, 400)) << "samples with a sign";
  EXPECT_EQ(read(Component(37, 1, 1)), Told(std::nullopt, 400));
  EXPECT_EQ(read(""), Told());
}

TEST(Jpeg2000, APictureInFrontOfItsOffsetIsRefused) {
  EXPECT_TRUE(IsRefused(Codestream(39, 66, 40, 20)));
  EXPECT_TRUE(IsRefused(Codestream(110, 19, 40, 20)));
}

TEST(Jpeg2000, WithoutAnImageHeaderTheCodestreamTellsTheSize) {
  const std::string bytes = Signature() + FileType() + Box("jp2c", Codestream(70, 46, 0, 0));
  EXPECT_EQ(Read(bytes).size, (PictureSize{70, 46}));
  EXPECT_EQ(Read(Jp2(ImageHeader(92, 125, 3), Box("jp2c", Codestream(70, 46, 0, 0)))).size, (PictureSize{92, 125}));
}

TEST(Jpeg2000, TheCodestreamInAFileTellsDepthAndChroma) {
  const auto read = [](const std::string& colours, unsigned columns) {
    const std::string others = Component(11, columns, 1) + Component(11, columns, 1);
    const std::string codestream = Codestream(70, 46, 0, 0, Component(11, 1, 1) + others);
    return Read(Jp2(ImageHeader(70, 46, 3) + colours, Box("jp2c", codestream) + Box("jp2c", Codestream(1, 1, 0, 0))));
  };
  EXPECT_EQ(read(Colours(18), 2).bit_depth, 12);
  EXPECT_EQ(read(Colours(18), 2).chroma_sampling, 422);
  EXPECT_EQ(read(Colours(16), 1).chroma_sampling, codec::kChromaRgb);
  EXPECT_EQ(read(Colours(12), 1).chroma_sampling, std::nullopt);
  const PictureHeaders with_palette = read(Colours(16) + Box("pclr"), 1);
  EXPECT_EQ(with_palette.bit_depth, std::nullopt);
  EXPECT_EQ(with_palette.chroma_sampling, std::nullopt);
}

TEST(Jpeg2000, AHeaderOfTheCodestreamAloneTellsTheSize) {
  EXPECT_EQ(Read(Signature() + Box("jpch", ImageHeader(92, 125, 3))).size, (PictureSize{92, 125}));
}

TEST(Jpeg2000, ChannelsAreDefinedAsAlpha) {
  const auto alpha_of = [](const std::vector<unsigned>& types) {
    return Read(Jp2(ImageHeader(1, 1, static_cast<unsigned>(types.size())) + Channels(types))).alpha;
  };
  EXPECT_EQ(alpha_of({0, 0, 0, 1}), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha_of({0, 2}), imagecore::kAlphaPremultiplied);
  EXPECT_EQ(alpha_of({0, 0, 0}), imagecore::kAlphaNone);
  EXPECT_EQ(alpha_of({0, 0, 0, 0xFFFF}), imagecore::kAlphaNone);
}

TEST(Jpeg2000, OneComponentMoreThanColoursIsAlpha) {
  const std::pair<unsigned, std::uint32_t> with_alpha[] = {{4, 16}, {2, 17}, {4, 18}};
  for (const auto& [components, space] : with_alpha) {
    EXPECT_EQ(Read(Jp2(ImageHeader(1, 1, components) + Colours(space))).alpha, imagecore::kAlphaStraight) << space;
  }
  const std::pair<unsigned, std::uint32_t> without[] = {{3, 16}, {1, 17}, {4, 12}, {5, 16}};
  for (const auto& [components, space] : without) {
    EXPECT_EQ(Read(Jp2(ImageHeader(1, 1, components) + Colours(space))).alpha, imagecore::kAlphaNone) << space;
  }
}

TEST(Jpeg2000, AColourProfileIsNotTakenForANumber) {
  const std::string profile = Box("colr", Be(2, 1) + Be(0, 2) + Be(16, 4));
  EXPECT_EQ(Read(Jp2(ImageHeader(1, 1, 4) + profile)).alpha, imagecore::kAlphaNone);
}

TEST(Jpeg2000, ABoxByItsIdentifierHoldsMetadata) {
  const std::string xmp_id = "\xbe\x7a\xcf\xcb\x97\xa9\x42\xe8\x9c\x71\x99\x94\x91\xe3\xaf\xac";
  const std::string iptc_id = "\x33\xc7\xa4\xd2\xb8\x1d\x47\x23\xa0\xba\xf1\xa3\xe0\x97\xad\x38";
  const std::string editor_id = "\x05\x37\xcd\xab\x9d\x0c\x44\x31\xa7\x2a\xfa\x56\x1f\x2a\x11\x3e";
  const std::string editor_iptc_id = "\x09\xa1\x4e\x97\xc0\xb4\x42\xe0\xbe\xbf\x36\xdf\x6f\x0c\xe3\x6f";
  const std::string other_id(16, 'o');
  const auto metadata_of = [](const std::string& boxes) {
    return Read(Jp2(ImageHeader(1, 1, 1), Box("jp2c", Zeros(50'000)) + boxes)).metadata;
  };
  EXPECT_EQ(metadata_of(Box("uuid", xmp_id + "<x/>")).xmp, "<x/>");
  EXPECT_EQ(TextOf(metadata_of(Box("uuid", iptc_id + "\x1c\x02")).iptc), "\x1c\x02");
  EXPECT_EQ(TextOf(metadata_of(Box("uuid", editor_iptc_id + "\x1c\x02")).iptc), "\x1c\x02");
  EXPECT_EQ(TextOf(metadata_of(Box("uuid", "JpgTiffExif->JP2II*\0x"s)).exif), "II*\0x"s);
  EXPECT_EQ(TextOf(metadata_of(Box("uuid", "JpgTiffExif->JP2Exif\0\0II*\0x"s)).exif), "II*\0x"s);
  EXPECT_EQ(TextOf(metadata_of(Box("uuid", editor_id + "MM\0*x"s)).exif), "MM\0*x"s);
  EXPECT_FALSE(HasPayload(metadata_of(Box("uuid", other_id + "II*\0x"s))));
}

TEST(Jpeg2000, IsRefusedWithoutASize) {
  EXPECT_TRUE(IsRefused(""));
  EXPECT_TRUE(IsRefused(Signature() + FileType()));
  EXPECT_TRUE(IsRefused(Signature() + Box("jp2c", "no codestream")));
}

TEST(Jpeg2000, CutAnywhereTellsTheWholeSizeOrNothing) {
  const std::string head = Signature() + FileType();
  const std::string whole = head + Box("jp2h", ImageHeader(92, 125, 3) + Colours(16));
  // Height, width and count of components, behind the headers of two boxes.
  const std::size_t size_end = head.size() + 8 + 8 + 10;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    MemorySource source(whole.substr(0, size));
    PictureHeaders headers;
    EXPECT_EQ(ReadJpeg2000(source, headers), size >= size_end) << size;
    EXPECT_TRUE(!headers.size || *headers.size == (PictureSize{92, 125})) << size;
  }
}

TEST(Jpeg2000, ACutCodestreamTellsTheWholeSizeOrNothing) {
  const std::string whole = Codestream(70, 46, 0, 0);
  for (std::size_t size = 0; size <= whole.size(); ++size)
    EXPECT_EQ(IsRefused(whole.substr(0, size)), size < 24) << size;
}

TEST(Jpeg2000, HostileBoxesCostTheirBudget) {
  std::string boxes = Channels(std::vector<unsigned>(60'000, 0));
  for (int i = 0; i < 2000; ++i) boxes += Box("jpch", ImageHeader(1, 1, 1) + Zeros(2000));
  MemorySource source(Signature() + boxes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadJpeg2000(source, headers));
  EXPECT_LE(source.BytesRead(), 256 * 1024U);
  std::string nested = ImageHeader(1, 1, 1);
  for (int i = 0; i < 1000; ++i) nested = Box("jp2h", nested);
  EXPECT_TRUE(IsRefused(Signature() + nested));
}

}  // namespace
}  // namespace media_server::image
