#include "media-server/image/webp.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Chunk(const std::string& type, const std::string& data) {
  return type + Le(data.size(), 4) + data + Zeros(data.size() % 2);
}
std::string File(const std::string& chunks) { return "RIFF" + Le(chunks.size() + 4, 4) + "WEBP" + chunks; }

/// Frame tag, start code, width and height with scaling hints above.
const std::string kLossy = Chunk("VP8 ", FromHex("d02400 9d012a 7a40 4cc0"));
/// Signature; 122 by 76 with alpha.
const std::string kLossless = Chunk("VP8L", FromHex("2f 79c01210 00"));
const std::string kOpaqueLossless = Chunk("VP8L", FromHex("2f 79c01200 00"));

std::string Extended(int flags, unsigned width = 122, unsigned height = 76) {
  return Chunk("VP8X", static_cast<char>(flags) + Zeros(3) + Le(width - 1, 3) + Le(height - 1, 3));
}

constexpr int kAnimated = 0x02;
constexpr int kXmp = 0x04;
constexpr int kExif = 0x08;
constexpr int kAlpha = 0x10;

/// Place and size, duration, flags; the coded frame.
std::string Frame(unsigned duration_ms, const std::string& coded = kLossy) {
  return Chunk("ANMF", Zeros(12) + Le(duration_ms, 3) + "\0"s + coded);
}

TEST(Webp, ReadsLossyFiles) {
  const auto headers = ReadPicture(File(kLossy));
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->type, imagecore::kPictureWebP);
  EXPECT_EQ(headers->fourcc, FourCC("VP8 "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->bit_depth, 8);
  EXPECT_EQ(headers->chroma_sampling, codec::kChroma420);
  EXPECT_FALSE(headers->animation);
}

TEST(Webp, ReadsLosslessFiles) {
  const auto headers = ReadPicture(File(kLossless));
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->fourcc, FourCC("VP8L"));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(headers->chroma_sampling, codec::kChromaRgb);
  EXPECT_EQ(ReadPicture(File(kOpaqueLossless))->alpha, imagecore::kAlphaNone);
}

TEST(Webp, TakesTheCanvasOfExtendedFiles) {
  const auto headers = ReadPicture(File(Extended(kAlpha, 16777216, 200) + Chunk("ALPH", "abc") + kLossy));
  ExpectSize(headers, 16777216, 200);
  EXPECT_EQ(headers->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(headers->fourcc, FourCC("VP8 ")) << "of the coded picture";
  EXPECT_EQ(ReadPicture(File(Extended(0) + kLossless))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(ReadPicture(File(Extended(0) + kLossless))->fourcc, FourCC("VP8L"));
}

TEST(Webp, RefusesFilesThatBeginWithAnotherChunk) {
  EXPECT_FALSE(ReadPicture(File(Chunk("EXIF", "II*\0"s) + kLossy)));
  EXPECT_FALSE(ReadPicture(File(Chunk("VP8 ", FromHex("d12400 9d012a 7a00 4c00"))))) << "no key frame";
  EXPECT_FALSE(ReadPicture(File(Chunk("VP8 ", FromHex("d02400 9d012b 7a00 4c00"))))) << "no start code";
  EXPECT_FALSE(ReadPicture(File(Chunk("VP8 ", FromHex("d02400 9d012a 7a00 0040"))))) << "no lines";
  EXPECT_FALSE(ReadPicture(File(Chunk("VP8L", FromHex("2e 79c01210 00")))));
  EXPECT_FALSE(ReadPicture(File("")));
}

TEST(Webp, TellsTheSameSizeHoweverEarlyTheFileEnds) {
  ExpectSameSizeOfEveryPrefix(File(kLossy), 30);
  ExpectSameSizeOfEveryPrefix(File(kLossless), 25);
  ExpectSameSizeOfEveryPrefix(File(Extended(kAnimated | kExif) + Frame(10) + Frame(10) + Chunk("EXIF", "II*\0"s)), 30);
}

TEST(Webp, CutsOutExifAndXmp) {
  const std::string file = File(Extended(kExif | kXmp) + kLossy + Chunk("EXIF", "II*\0odd"s) + Chunk("XMP ", "<xmp/>"));
  const auto headers = ReadPicture(file);
  EXPECT_EQ(ExifOf(ReadWebp, file), "II*\0odd"s);
  EXPECT_EQ(headers->metadata.xmp, "<xmp/>");
  const std::string named_file = File(Extended(kExif) + kLossy + Chunk("EXIF", "Exif\0\0MM\0*"s));
  const auto named = ReadPicture(named_file);
  EXPECT_EQ(ExifOf(ReadWebp, named_file), "MM\0*"s);
}

TEST(Webp, IgnoresWhatLiesBehindTheFile) {
  EXPECT_TRUE(ReadPicture(File(Extended(kXmp) + kLossy) + Chunk("XMP ", "<xmp/>"))->metadata.xmp.empty());
}

TEST(Webp, AddsUpTheDurationsOfItsFrames) {
  const auto read = [](const std::string& frames) {
    return ReadPicture(File(Extended(kAnimated) + Chunk("ANIM", Zeros(6)) + frames));
  };
  const auto even = read(Frame(40) + Frame(40) + Frame(40));
  ASSERT_TRUE(even->animation);
  EXPECT_DOUBLE_EQ(even->animation->duration_s, 0.12);
  EXPECT_EQ(even->animation->frame_rate, (core::Rational{25, 1}));
  EXPECT_EQ(even->fourcc, FourCC("VP8 "));
  EXPECT_EQ(even->chroma_sampling, std::nullopt);
  const auto uneven = read(Frame(0xFFFFFF, Chunk("ALPH", "abc") + kLossless) + Frame(1));
  EXPECT_DOUBLE_EQ(uneven->animation->duration_s, 16777.216);
  EXPECT_EQ(uneven->animation->frame_rate, std::nullopt);
  EXPECT_EQ(uneven->fourcc, FourCC("VP8L"));
  EXPECT_FALSE(read(Frame(40))->animation) << "a single frame stands still";
}

TEST(Webp, IsNoAnimationWithoutTheFlag) {
  EXPECT_FALSE(ReadPicture(File(Extended(0) + Frame(40) + Frame(40)))->animation);
}

TEST(Webp, SkipsPicturesWithoutReadingThem) {
  const std::string coded = Chunk("VP8 ", FromHex("d02400 9d012a 7a40 4cc0") + Zeros(100000));
  const std::string head = File("").substr(0, 4) + Le(0xFFFFFFF0, 4) + "WEBP" + Extended(kAnimated);
  RepeatingSource source(head, Frame(40, coded), 3000, Chunk("EXIF", "II*\0"s));
  PictureHeaders headers;
  ASSERT_TRUE(ReadWebp(source, headers));
  EXPECT_DOUBLE_EQ(headers.animation->duration_s, 120);
  EXPECT_EQ(Text(headers.metadata.exif), "II*\0"s);
  EXPECT_LE(source.BytesRead(), 256U * 1024);
}

TEST(Webp, LeavesAnAnimationOutThatItDoesNotSeeTheEndOf) {
  const std::string head = "RIFF"s + Le(0xFFFFFFF0, 4) + "WEBP" + Extended(kAnimated);
  for (const std::string& unit : {Frame(40, ""), Frame(40, Zeros(4000))}) {  // too many chunks, too many bytes
    RepeatingSource source(head, unit, (std::uint64_t{1} << 32) / unit.size());
    std::string reason;
    const auto headers = ReadPictureHeaders(source, &reason);
    ExpectSize(headers, 122, 76);
    EXPECT_FALSE(headers->animation);
    EXPECT_LE(source.BytesRead(), 65U << 20);
  }
}

TEST(Webp, ReadsABoundedPartOfAnyStill) {
  for (const std::string& unit :
       {Chunk("abcd", ""), Chunk("EXIF", Zeros(100000)), Chunk("XMP ", Zeros(200000)), kLossy}) {
    const std::string head = "RIFF"s + Le(0xFFFFFFF0, 4) + "WEBP" + Extended(0);
    RepeatingSource source(head, unit, (std::uint64_t{1} << 32) / unit.size());
    std::string reason;
    ExpectSize(ReadPictureHeaders(source, &reason), 122, 76);
    EXPECT_LE(source.BytesRead(), 300U * 1024);
  }
}

}  // namespace
}  // namespace media_server::image
