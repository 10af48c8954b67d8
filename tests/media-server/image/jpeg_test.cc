#include "media-server/image/jpeg.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kStart = "\xFF\xD8"s;
const std::string kScan = "\xFF\xDA\x00\x08\x01\x01\x00\x00\x3F\x00"s;
const std::string kEnd = "\xFF\xD9"s;

std::string Segment(int marker, const std::string& payload) {
  return "\xFF"s + static_cast<char>(marker) + Be(payload.size() + 2, 2) + payload;
}

/// Precision, height, width, and three components of 4:2:0.
std::string Frame(unsigned width, unsigned height, int marker = 0xC0) {
  return Segment(marker, "\x08"s + Be(height, 2) + Be(width, 2) + "\x03\x01\x22\x00\x02\x11\x01\x03\x11\x01"s);
}

std::string Exif(const std::string& tiff) { return Segment(0xE1, "Exif\0\0"s + tiff); }
std::string Xmp(const std::string& packet) { return Segment(0xE1, "http://ns.adobe.com/xap/1.0/\0"s + packet); }
std::string Photoshop(const std::string& blocks) { return Segment(0xED, "Photoshop 3.0\0"s + blocks); }
std::string Resource(int id, const std::string& data) {
  return "8BIM"s + Be(static_cast<std::uint64_t>(id), 2) + "\0\0"s + Be(data.size(), 4) + data + Zeros(data.size() % 2);
}

TEST(Jpeg, TellsSizeKindAndSamplesOfItsFrame) {
  const auto headers = ReadPicture(kStart + Frame(122, 76) + kScan);
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->type, imagecore::kPictureJpeg);
  EXPECT_EQ(headers->fourcc, FourCC("JPEG"));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->bit_depth, 8);
  EXPECT_EQ(headers->chroma_sampling, codec::kChroma420);
  EXPECT_FALSE(headers->animation);
  EXPECT_FALSE(HasPayload(headers->metadata));
}

TEST(Jpeg, KnowsEveryKindOfFrame) {
  for (int marker = 0xC0; marker <= 0xCF; ++marker) {
    SCOPED_TRACE(marker);
    const bool is_frame = marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    EXPECT_EQ(ReadPicture(kStart + Frame(5, 4, marker) + kScan).has_value(), is_frame);
  }
  EXPECT_TRUE(ReadPicture(kStart + Frame(5, 4, 0xF7) + kScan)) << "JPEG-LS";
}

TEST(Jpeg, TakesTheSizeOfAHierarchicalProgressionOverThatOfItsFrames) {
  ExpectSize(ReadPicture(kStart + Frame(640, 480, 0xDE) + Frame(320, 240) + kScan), 640, 480);
}

TEST(Jpeg, TakesChromaFromTheRatioOfTheFactors) {
  const auto chroma = [](const std::string& components) {
    const auto frame = Segment(0xC0, FromHex("08 004c 007a " + components));
    return ReadPicture(kStart + frame + kScan)->chroma_sampling;
  };
  EXPECT_EQ(chroma("01 011100"), codec::kChroma400);
  EXPECT_EQ(chroma("03 011100 021100 031100"), codec::kChroma444);
  EXPECT_EQ(chroma("03 012100 022100 032100"), codec::kChroma444);
  EXPECT_EQ(chroma("03 012200 021200 031200"), codec::kChroma422);
  EXPECT_EQ(chroma("03 011200 021100 031100"), codec::kChroma440);
  EXPECT_EQ(chroma("03 014100 021100 031100"), codec::kChroma411);
  EXPECT_EQ(chroma("03 014200 021100 031100"), codec::kChroma410);
  EXPECT_EQ(chroma("03 012200 021100 032200"), std::nullopt);
  EXPECT_EQ(chroma("03 012200 020000 030000"), std::nullopt);
  EXPECT_EQ(chroma("04 011100 021100 031100 041100"), std::nullopt);
}

TEST(Jpeg, ColoursThatWereNotTransformedAreRgb) {
  const std::string ycbcr_ids = Segment(0xC0, FromHex("08 004c 007a 03 011100 021100 031100"));
  const std::string rgb_ids = Segment(0xC0, FromHex("08 004c 007a 03 521100 471100 421100"));
  const auto adobe = [](const std::string& transform) {
    return Segment(0xEE, "Adobe"s + FromHex("0064 0000 0000 " + transform));
  };
  const auto chroma = [](const std::string& segments) {
    return ReadPicture(kStart + segments + kScan)->chroma_sampling;
  };
  EXPECT_EQ(chroma(adobe("00") + ycbcr_ids), codec::kChromaRgb);
  EXPECT_EQ(chroma(adobe("01") + ycbcr_ids), codec::kChroma444);
  EXPECT_EQ(chroma(rgb_ids), codec::kChromaRgb);
  EXPECT_EQ(chroma(adobe("01") + rgb_ids), codec::kChroma444);
  EXPECT_EQ(chroma(adobe("") + ycbcr_ids), codec::kChroma444) << "cut short";
  EXPECT_EQ(chroma(Segment(0xEE, "Adept"s + Zeros(7)) + ycbcr_ids), codec::kChroma444);
}

TEST(Jpeg, SkipsFillBytesTablesAndMarkersThatStandAlone) {
  const std::string standing_alone = "\xFF\x01\xFF\xD0"s;
  const auto headers =
      ReadPicture(kStart + "\xFF\xFF\xFF"s + Segment(0xC4, "\0\0"s) + standing_alone + Frame(65535, 1) + kScan);
  ExpectSize(headers, 65535, 1);
}

TEST(Jpeg, FindsTheNextMarkerBehindASegmentThatLies) {
  const std::string too_short = "\xFF\xE2\x00\x03"s + "abcdef";
  ExpectSize(ReadPicture(kStart + too_short + Frame(8, 6) + kScan), 8, 6);
  const std::string leads_into_the_scan = "\xFF\xE2\x40\x00"s;
  EXPECT_FALSE(ReadPicture(kStart + leads_into_the_scan + Frame(8, 6) + kScan + Zeros(40000)));
  EXPECT_FALSE(ReadPicture(kStart + "\xFF\xE0\x00\x01"s + Frame(8, 6) + kScan)) << "a length below its own size";
  EXPECT_FALSE(ReadPicture(kStart + "\xFF\xE0\x00\x04zz"s + Zeros(5000) + Frame(8, 6))) << "no marker anywhere near";
}

TEST(Jpeg, EndsAtItsFirstScanOrItsEnd) {
  EXPECT_FALSE(ReadPicture(kStart + kScan + Frame(8, 6)));
  EXPECT_FALSE(ReadPicture(kStart + Segment(0xE0, "JFIF") + kEnd + Frame(8, 6)));
  // The gain map of a multi-picture file is a JPEG of its own behind the main picture.
  const std::string file = kStart + Exif("II*\0main"s) + Frame(8, 6) + kScan + kEnd + kStart + Exif("II*\0gain"s) +
                           Xmp("<gain/>") + Frame(4, 3) + kScan + kEnd;
  const auto headers = ReadPicture(file);
  ExpectSize(headers, 8, 6);
  EXPECT_EQ(ExifOf(ReadJpeg, file), "II*\0main"s);
  EXPECT_EQ(headers->metadata.xmp, "");
}

TEST(Jpeg, TakesItsHeightFromTheLineCountBehindTheScan) {
  const std::string data = "\x12\xFF\x00\x34\xFF\xD0\x56"s;  // with a stuffed byte and a restart in it
  const std::string lines = "\xFF\xDC\x00\x04\x01\x02"s;
  ExpectSize(ReadPicture(kStart + Frame(8, 0) + kScan + data + lines + kEnd), 8, 0x102);
  for (std::size_t size = 4080; size < 4110; ++size) {  // across the border of a read
    ExpectSize(ReadPicture(kStart + Frame(8, 0) + kScan + std::string(size, '\1') + lines + kEnd), 8, 0x102);
  }
  EXPECT_FALSE(ReadPicture(kStart + Frame(8, 0) + kScan + data + kEnd));
  EXPECT_FALSE(ReadPicture(kStart + Frame(8, 0) + kScan + data));
  EXPECT_FALSE(ReadPicture(kStart + Frame(8, 0) + kScan + data + kEnd + lines));
}

TEST(Jpeg, LooksForTheLineCountOnlyNearby) {
  SparseSource source(std::uint64_t{1} << 40);
  source.Put(0, kStart + Frame(8, 0) + kScan);
  std::string reason;
  EXPECT_FALSE(ReadPictureHeaders(source, &reason));
  EXPECT_LE(source.BytesRead(), 300U * 1024);
}

TEST(Jpeg, CutsOutExifXmpAndIptc) {
  const std::string file = kStart + Segment(0xE0, "JFIF\0"s) + Exif("MM\0*exif"s) + Xmp("<xmp/>") +
                           Photoshop(Resource(0x03ED, "abc") + Resource(0x0404, "\x1C\x02\x00"s)) + Frame(8, 6) + kScan;
  const auto headers = ReadPicture(file);
  ASSERT_TRUE(headers);
  EXPECT_EQ(ExifOf(ReadJpeg, file), "MM\0*exif"s);
  EXPECT_EQ(headers->metadata.xmp, "<xmp/>");
  EXPECT_EQ(Text(headers->metadata.iptc), "\x1C\x02\x00"s);
}

TEST(Jpeg, FindsMetadataBehindTheFrame) {
  const std::string file = kStart + Frame(8, 6) + Exif("II*\0late"s) + kScan;
  EXPECT_EQ(ExifOf(ReadJpeg, file), "II*\0late"s);
}

TEST(Jpeg, TakesTheFirstExifThatIsOne) {
  const std::string padded_otherwise = Segment(0xE1, "Exif\0\xFF"s + "II*\0one"s);
  const std::string file =
      kStart + Exif("") + Exif("garbage") + padded_otherwise + Exif("II*\0two"s) + Frame(8, 6) + kScan;
  EXPECT_EQ(ExifOf(ReadJpeg, file), "II*\0one"s);
}

TEST(Jpeg, KeepsFurtherXmpAndLeavesExtendedXmpOut) {
  const std::string extension = Segment(0xE1, "http://ns.adobe.com/xmp/extension/\0"s + "0123456789");
  const auto headers = ReadPicture(kStart + Xmp("") + Xmp("<one/>") + extension + Xmp("<two/>") + Xmp("<three/>") +
                                   Xmp("<four/>") + Xmp("<five/>") + Frame(8, 6) + kScan);
  EXPECT_EQ(headers->metadata.xmp, "<one/>");
  EXPECT_EQ(headers->metadata.further_xmp, (std::vector<std::string>{"<two/>", "<three/>", "<four/>"}));
}

TEST(Jpeg, JoinsImageResourcesThatGoOnInTheNextSegment) {
  const std::string resource = Resource(0x0404, "\x1C\x02\x19 a keyword"s);
  for (std::size_t cut = 0; cut <= resource.size(); ++cut) {
    const auto headers = ReadPicture(kStart + Photoshop(resource.substr(0, cut)) + Photoshop(resource.substr(cut)) +
                                     Frame(8, 6) + kScan);
    EXPECT_EQ(Text(headers->metadata.iptc), "\x1C\x02\x19 a keyword"s) << cut;
  }
}

TEST(Jpeg, TellsTheSameSizeHoweverEarlyTheFileEnds) {
  const std::string before = kStart + Exif("II*\0exif"s) + Xmp("<xmp/>");
  const std::string frame = Frame(8, 6);
  constexpr std::size_t kThroughComponentCount = 2 + 2 + 6;
  ExpectSameSizeOfEveryPrefix(before + frame + Photoshop(Resource(0x0404, "\x1C")) + kScan,
                              before.size() + kThroughComponentCount);
}

TEST(Jpeg, SkipsSegmentsWithoutReadingThem) {
  // 160 segments of 64 KiB, as extended XMP with a depth map has.
  const std::string name = "http://ns.adobe.com/xmp/extension/\0"s;
  RepeatingSource source(kStart + Exif("II*\0exif"s), Segment(0xE1, name + Zeros(65533 - name.size())), 160,
                         Frame(8, 6) + kScan);
  PictureHeaders headers;
  ASSERT_TRUE(ReadJpeg(source, headers));
  ExpectSize(headers, 8, 6);
  EXPECT_EQ(Text(headers.metadata.exif), "II*\0exif"s);
  EXPECT_LE(source.BytesRead(), 32U * 1024);
}

TEST(Jpeg, ReadsABoundedPartOfAnyFile) {
  const std::string large = Xmp("<" + Zeros(65000));
  for (const std::string& unit : {"\xFF"s, "\xFF\xD0"s, Segment(0xE2, ""), Segment(0xE2, Zeros(65533)), large, Exif(""),
                                  Photoshop(Zeros(60000))}) {
    RepeatingSource source(kStart, unit, (std::uint64_t{1} << 32) / unit.size());
    std::string reason;
    EXPECT_FALSE(ReadPictureHeaders(source, &reason));
    EXPECT_LE(source.BytesRead(), 300U * 1024);
  }
}

TEST(Jpeg, RefusesFramesThatCannotBe) {
  EXPECT_FALSE(ReadPicture(kStart + Frame(0, 6) + kScan));
  EXPECT_FALSE(ReadPicture(kStart + Segment(0xC0, FromHex("00 0006 0008 01 011100")) + kScan)) << "0 bits";
  EXPECT_FALSE(ReadPicture(kStart + Segment(0xC0, FromHex("11 0006 0008 01 011100")) + kScan)) << "17 bits";
  EXPECT_FALSE(ReadPicture(kStart + Segment(0xC0, FromHex("08 0006 00")) + kScan)) << "a frame header cut short";
}

}  // namespace
}  // namespace media_server::image
