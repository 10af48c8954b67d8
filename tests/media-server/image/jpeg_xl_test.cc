#include "media-server/image/jpeg_xl.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/mp4_builder.h"
#include "tests/media-server/image/jpeg_xl_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Signature() { return Box("JXL ", "\x0d\x0a\x87\x0a"); }
std::string FileType() { return Box("ftyp", "jxl " + Zeros(4) + "jxl "); }

/// 300 x 150, turned by Exif's number 6.
std::string Codestream() {
  return JpegXlBits().Size(150, 7).Put(0, 1).Put(1, 1).Put(5, 3).Put(0, 3).Put(0, 3).Put(1, 1).Put(0, 2).Bytes();
}

PictureHeaders Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadJpegXl(source, headers));
  EXPECT_LE(source.BytesRead(), 256 * 1024U);
  return headers;
}

std::string TextOf(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

TEST(JpegXl, ABareCodestreamTellsAll) {
  const PictureHeaders headers = Read(Codestream());
  EXPECT_EQ(headers.type, imagecore::kPictureJpegXl);
  EXPECT_EQ(headers.fourcc, FourCC("jxl "));
  EXPECT_EQ(headers.size, (PictureSize{300, 150}));
  EXPECT_EQ(headers.orientation, (Orientation{imagecore::kFlipNone, 90}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
}

TEST(JpegXl, TheCodestreamMayLieInABox) {
  const PictureHeaders headers = Read(Signature() + FileType() + Box("jxlc", Codestream()));
  EXPECT_EQ(headers.size, (PictureSize{300, 150}));
  EXPECT_EQ(headers.orientation, (Orientation{imagecore::kFlipNone, 90}));
}

TEST(JpegXl, TheCodestreamMayLieInParts) {
  const std::string codestream = Codestream();
  std::string parts;
  for (std::size_t i = 0; i < codestream.size(); ++i) parts += Box("jxlp", Be(i, 4) + codestream.substr(i, 1));
  const PictureHeaders headers = Read(Signature() + FileType() + parts);
  EXPECT_EQ(headers.size, (PictureSize{300, 150}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
}

/// 300 x 150, an animation with a hundred ticks a second of two frames.
std::string AnimatedCodestream() {
  JpegXlBits bits;
  bits.Size(150, 7).Put(0, 1).Put(1, 1).Put(0, 3).Put(0, 2);         // extra fields: orientation, no sizes
  bits.Put(1, 1).Put(0, 2).Put(0, 2).Put(0, 2).Put(0, 1);            // animation
  bits.Put(0, 3).Put(1, 1).Put(0, 2).Put(1, 1).Put(1, 1).Put(1, 1);  // depth, buffers, channels, XYB, colours, tones
  bits.Put(0, 2).Put(1, 1).ToByte();                                 // no extensions, transform
  const std::string first = JpegXlFrame{.duration_ticks = 20, .parts = 2 + 1 + 2}.Bytes();
  return bits.Bytes() + first + JpegXlFrame{.duration_ticks = 30, .is_last = true}.Bytes();
}

TEST(JpegXl, AnAnimationHasADuration) {
  const std::string codestream = AnimatedCodestream();
  std::string parts;
  for (std::size_t i = 0; i < codestream.size(); i += 3) parts += Box("jxlp", Be(i, 4) + codestream.substr(i, 3));
  for (const std::string& bytes :
       {codestream, Signature() + FileType() + Box("jxlc", codestream), Signature() + parts}) {
    const PictureHeaders headers = Read(bytes);
    EXPECT_EQ(headers.size, (PictureSize{300, 150}));
    ASSERT_TRUE(headers.animation);
    EXPECT_EQ(headers.animation->duration_s, 0.5);
  }
  EXPECT_FALSE(Read(Codestream()).animation);
}

TEST(JpegXl, MetadataStandInFrontOrBehind) {
  const std::string exif = Box("Exif", Be(0, 4) + "MM\0*first"s) + Box("Exif", Be(0, 4) + "MM\0*second"s);
  const std::string xml = Box("xml ", "<x:xmpmeta/>");
  const std::string codestream = Box("jxlc", Codestream() + Zeros(100'000));
  for (const std::string& boxes : {exif + xml + codestream, codestream + exif + xml}) {
    const EmbeddedMetadata metadata = Read(Signature() + FileType() + boxes).metadata;
    EXPECT_EQ(TextOf(metadata.exif), "MM\0*first"s);
    EXPECT_EQ(metadata.xmp, "<x:xmpmeta/>");
    EXPECT_TRUE(metadata.further_xmp.empty());
  }
}

TEST(JpegXl, MetadataLongerThanTheBudgetAreLeftOut) {
  const std::string exif = Box("Exif", Be(0, 4) + "MM\0*"s + Zeros(120'000));
  const EmbeddedMetadata metadata = Read(Signature() + exif + Box("xml ", "<x/>") + Box("jxlc", Codestream())).metadata;
  EXPECT_TRUE(metadata.exif.empty());
  EXPECT_EQ(metadata.xmp, "<x/>");
}

/// A Brotli stream (RFC 7932 9) that holds `text`, of at most 65,536 bytes, as it is.
std::string Packed(const std::string& text) {
  const std::uint64_t length_and_flag = (text.size() - 1) << 4 | 1 << 20;
  std::string head;
  for (int shift = 0; shift < 24; shift += 8) head += static_cast<char>(length_and_flag >> shift & 0xFF);
  return head + text + "\x03";
}

std::string PackedBox(const std::string& type, const std::string& payload) {
  return Box("brob", type + Packed(payload));
}

TEST(JpegXl, MetadataMayBePacked) {
  const std::string exif = PackedBox("Exif", Be(0, 4) + "MM\0*"s);
  const std::string xml = PackedBox("xml ", "<x:xmpmeta/>");
  const std::string other = PackedBox("jumb", "<x/>");
  const EmbeddedMetadata metadata =
      Read(Signature() + FileType() + other + exif + Box("jxlc", Codestream()) + xml).metadata;
  EXPECT_EQ(TextOf(metadata.exif), "MM\0*"s);
  EXPECT_EQ(metadata.xmp, "<x:xmpmeta/>");
  EXPECT_TRUE(metadata.further_xmp.empty());
}

TEST(JpegXl, DamagedPackedMetadataAreLeftOut) {
  const std::string whole = "xml " + Packed("<x:xmpmeta/>");
  const std::string last = Box("xml ", "<last/>");
  const std::string codestream = Box("jxlc", Codestream());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(Read(Signature() + Box("brob", whole.substr(0, size)) + last + codestream).metadata.xmp, "<last/>");
  }
  EXPECT_EQ(Read(Signature() + Box("brob", "xml \xFF\xFF\xFF"s) + last + codestream).metadata.xmp, "<last/>");
}

TEST(JpegXl, PackedMetadataHaveTheBoundOfOthers) {
  // A letter, as often as the numbers say.
  const std::string times_114688("\xea\xff\x37\xf0\x4b\xe0\xc5\x63\x81\x40\xee\x6d\x00", 13);
  const std::string times_114689("\x0a\x00\x38\xf0\x4b\xe0\xc5\x63\x81\x80\xee\x6d\x00", 13);
  const std::string codestream = Box("jxlc", Codestream());
  EXPECT_EQ(Read(Signature() + Box("brob", "xml " + times_114688) + codestream).metadata.xmp.size(), 114'688U);
  EXPECT_EQ(Read(Signature() + Box("brob", "xml " + times_114689) + codestream).metadata.xmp, "");
}

TEST(JpegXl, OnlyAFewBoxesAreUnpacked) {
  const std::string codestream = Box("jxlc", Codestream());
  std::string damaged;
  for (int i = 0; i < 3; ++i) damaged += Box("brob", "xml \xFF");
  const std::string fourth = PackedBox("xml ", "<fourth/>");
  EXPECT_EQ(Read(Signature() + damaged + fourth + codestream).metadata.xmp, "<fourth/>");
  const std::string fifth = PackedBox("xml ", "<fifth/>") + Box("xml ", "<sixth/>");
  EXPECT_EQ(Read(Signature() + damaged + Box("brob", "Exif\xFF") + fifth + codestream).metadata.xmp, "<sixth/>");
}

TEST(JpegXl, IsRefusedWithoutACodestream) {
  for (const std::string& bytes : {Signature() + FileType(), Signature() + Box("jxlc", "no codestream"), ""s}) {
    MemorySource source(bytes);
    PictureHeaders headers;
    EXPECT_FALSE(ReadJpegXl(source, headers));
  }
}

TEST(JpegXl, CutAnywhereTellsTheWholeSizeOrNothing) {
  const std::string head = Signature() + FileType() + Box("Exif", Be(0, 4) + "MM\0*"s);
  const std::string whole = head + Box("jxlc", Codestream());
  // The size takes 31 bits behind the box's header.
  const std::size_t size_end = head.size() + 8 + 4;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    MemorySource source(whole.substr(0, size));
    PictureHeaders headers;
    EXPECT_EQ(ReadJpegXl(source, headers), size >= size_end) << size;
    EXPECT_EQ(headers.size.has_value(), size >= size_end) << size;
    EXPECT_TRUE(!headers.size || *headers.size == (PictureSize{300, 150})) << size;
  }
}

TEST(JpegXl, ThousandsOfPartsCostTheirBudget) {
  std::string parts;
  for (int i = 0; i < 20'000; ++i) parts += Box("jxlp", Be(1, 4));
  MemorySource source(Signature() + parts + Box("jxlc", Codestream()));
  PictureHeaders headers;
  EXPECT_FALSE(ReadJpegXl(source, headers));
  EXPECT_LE(source.BytesRead(), 64 * 1024U);
  std::string far_parts;
  for (int i = 0; i < 1000; ++i) far_parts += Box("xml ", std::string(3000, 'x'));
  MemorySource far_source(Signature() + far_parts + Box("jxlc", Codestream()));
  EXPECT_FALSE(ReadJpegXl(far_source, headers));
  EXPECT_LE(far_source.BytesRead(), 256 * 1024U);
}

}  // namespace
}  // namespace media_server::image
