#include "media-server/image/image_query.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "core/loading.h"
#include "media-server/image/exif_values.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/tiff_builder.h"
#include "tests/media-server/zone.h"

namespace media_server::image {
namespace {

using namespace imagecore;

constexpr std::int64_t kNoon = 1341835200;  // 2012-07-09 12:00:00 UTC

PictureHeaders StillHeaders() {
  PictureHeaders headers;
  headers.type = kPictureJpeg;
  headers.fourcc = 0x47504A4D;  // "MJPG"
  headers.size = PictureSize{4000, 3000};
  return headers;
}

/// Only for the record's flags when a test asks for nothing else.
std::uint32_t FlagsOf(const PictureHeaders& headers, const PictureTags& tags = {}) {
  QkImageInfo info;
  FillImageInfo(headers, tags, info);
  return info.flags;
}

constexpr std::uint32_t kStillFlags = kHasPictureType | kHasWidth | kHasHeight | kHasFourCC;

TEST(FillImageInfoTest, TellsTypeSizeAndCodeOfABarePicture) {
  QkImageInfo info;
  FillImageInfo(StillHeaders(), {}, info);
  EXPECT_EQ(info.flags, kStillFlags);
  EXPECT_EQ(info.picture_type, kPictureJpeg);
  EXPECT_EQ(info.width, 4000);
  EXPECT_EQ(info.height, 3000);
  EXPECT_EQ(info.fourcc, 0x47504A4Du);
  EXPECT_EQ(info.alpha_mode, kAlphaNone);
}

TEST(FillImageInfoTest, TellsNoSizeAndNoCodeThatIsNotThere) {
  EXPECT_EQ(FlagsOf(PictureHeaders{}), std::uint32_t{kHasPictureType});
}

TEST(FillImageInfoTest, TellsTheAlphaMode) {
  PictureHeaders headers = StillHeaders();
  headers.alpha = kAlphaPremultiplied;
  QkImageInfo info;
  FillImageInfo(headers, {}, info);
  EXPECT_EQ(info.alpha_mode, kAlphaPremultiplied);
  FillImageInfo(StillHeaders(), {}, info);
  EXPECT_EQ(info.alpha_mode, kAlphaNone) << "also where it is not told";
}

TEST(FillImageInfoTest, TellsATurnThatTheTagsTell) {
  QkImageInfo info;
  FillImageInfo(StillHeaders(), {.orientation = Orientation{kFlipHorizontal, 270}}, info);
  EXPECT_EQ(info.flags, kStillFlags | kHasFlip | kHasRotation);
  EXPECT_EQ(info.flip, kFlipHorizontal);
  EXPECT_EQ(info.rotation, 270);
}

TEST(FillImageInfoTest, PrefersTheContainersTurn) {
  PictureHeaders headers = StillHeaders();
  headers.orientation = Orientation{kFlipNone, 90};
  QkImageInfo info;
  FillImageInfo(headers, {.orientation = Orientation{kFlipHorizontal, 270}}, info);
  EXPECT_EQ(info.flip, kFlipNone);
  EXPECT_EQ(info.rotation, 90);
}

TEST(FillImageInfoTest, PutsADurationIntoTheFieldOfTheFormat) {
  PictureHeaders headers = StillHeaders();
  headers.animation = Animation{1.5, core::Rational{20, 1}};
  for (const PictureType type : {kPictureGif, kPicturePng, kPictureJpegXl, kPictureOther}) {
    headers.type = type;
    QkImageInfo info;
    FillImageInfo(headers, {}, info);
    EXPECT_EQ(info.flags, kStillFlags | kHasGifDuration | kHasGifFrameRateNum | kHasGifFrameRateDen) << type;
    EXPECT_EQ(info.gif_duration_s, 1.5);
    EXPECT_EQ(info.gif_frame_rate_num, 20);
    EXPECT_EQ(info.gif_frame_rate_den, 1);
  }
  for (const PictureType type : {kPictureAvif, kPictureHeif}) {
    headers.type = type;
    QkImageInfo info;
    FillImageInfo(headers, {}, info);
    EXPECT_EQ(info.flags, kStillFlags | kHasAvifDuration | kHasGifFrameRateNum | kHasGifFrameRateDen) << type;
    EXPECT_EQ(info.avif_duration_s, 1.5);
    EXPECT_EQ(info.gif_frame_rate_num, 20);
  }
  headers.type = kPictureWebP;
  QkImageInfo info;
  FillImageInfo(headers, {}, info);
  EXPECT_EQ(info.flags, kStillFlags | kHasWebPDuration | kHasGifFrameRateNum | kHasGifFrameRateDen);
  EXPECT_EQ(info.webp_duration_s, 1.5);
  EXPECT_EQ(info.gif_frame_rate_num, 20);
  EXPECT_EQ(info.gif_frame_rate_den, 1);
}

TEST(FillImageInfoTest, TellsNoFrameRateThatIsNotTold) {
  PictureHeaders headers = StillHeaders();
  headers.type = kPictureGif;
  headers.animation = Animation{1.5, std::nullopt};
  EXPECT_EQ(FlagsOf(headers), kStillFlags | kHasGifDuration);
  headers.animation->frame_rate = core::Rational{0xFFFFFFFF, 1};
  EXPECT_EQ(FlagsOf(headers), kStillFlags | kHasGifDuration) << "more than the field holds";
}

TEST(FillImageInfoTest, TellsPlaceExposureAndCamera) {
  PictureTags tags;
  tags.latitude_degrees = 33.5;
  tags.latitude_ref = 'S';
  tags.longitude_degrees = 151.25;
  tags.longitude_ref = 'E';
  tags.exposure_time_s = 0.008;
  tags.maker = "Acme";
  tags.model = "EX-1";
  QkImageInfo info;
  FillImageInfo(StillHeaders(), tags, info);
  EXPECT_EQ(info.flags, kStillFlags | kHasGpsLatitude | kHasGpsLongitude | kHasGpsLatitudeRef | kHasGpsLongitudeRef |
                            kHasExposureTime | kHasCameraMaker | kHasCameraModel);
  EXPECT_EQ(info.gps_latitude, 33.5);
  EXPECT_STREQ(info.gps_latitude_ref, "S");
  EXPECT_EQ(info.gps_longitude, 151.25);
  EXPECT_STREQ(info.gps_longitude_ref, "E");
  EXPECT_EQ(info.exposure_time_s, 0.008);
  EXPECT_STREQ(info.camera_maker, "Acme");
  EXPECT_STREQ(info.camera_model, "EX-1");
}

TEST(FillImageInfoTest, CutsLongTextsBetweenCharacters) {
  QkImageInfo info;
  FillImageInfo(StillHeaders(), {.maker = std::string(255, 'x'), .model = std::string(254, 'x') + "\u00DF"}, info);
  EXPECT_EQ(std::string(info.camera_maker), std::string(255, 'x'));
  EXPECT_EQ(std::string(info.camera_model), std::string(254, 'x'));
}

TEST(FillImageInfoTest, TellsBothDatesInOneText) {
  const Zone zone("UTC0");
  PictureHeaders headers = StillHeaders();
  QkImageInfo info;
  FillImageInfo(headers, {.created = kNoon, .modified = kNoon + 61}, info);
  EXPECT_EQ(info.flags, kStillFlags | kHasDate);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:0,2012:7:9:12:1:1");
  headers.metadata.modified = kNoon + 1;
  FillImageInfo(headers, {.created = kNoon, .modified = kNoon + 61}, info);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:0,2012:7:9:12:1:1") << "the tags' own time holds";
  FillImageInfo(headers, {.created = kNoon}, info);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:0,2012:7:9:12:0:1");
  FillImageInfo(headers, {}, info);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:1,2012:7:9:12:0:1");
  headers.metadata.created = kNoon - 1;
  FillImageInfo(headers, {}, info);
  EXPECT_STREQ(info.date, "2012:7:9:11:59:59,2012:7:9:12:0:1");
  FillImageInfo(headers, {.created = kNoon}, info);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:0,2012:7:9:12:0:1") << "the tags' own time holds";
}

TEST(FillImageInfoTest, TellsTheLabelOfTheContainerBeforeThatOfTheTags) {
  PictureHeaders headers = StillHeaders();
  QkImageInfo info;
  FillImageInfo(headers, {.aigc = "tags"}, info);
  EXPECT_EQ(info.flags, kStillFlags | kHasAigcData | kHasAigcSize);
  EXPECT_STREQ(info.aigc_data, "tags");
  EXPECT_EQ(info.aigc_size, 4);
  headers.metadata.aigc = "container";
  FillImageInfo(headers, {.aigc = "tags"}, info);
  EXPECT_STREQ(info.aigc_data, "container");
  EXPECT_EQ(info.aigc_size, 9);
}

TEST(FillImageInfoTest, ForgetsTheLabelThatTheRecordHeld) {
  QkImageInfo info;
  FillImageInfo(StillHeaders(), {.aigc = "label"}, info);
  FillImageInfo(StillHeaders(), {}, info);
  EXPECT_EQ(info.flags, kStillFlags);
  EXPECT_EQ(info.aigc_data, nullptr);
  EXPECT_EQ(info.aigc_size, 0);
}

TEST(FillImageInfoTest, EndsALabelAtItsFirstNul) {
  QkImageInfo info;
  FillImageInfo(StillHeaders(), {.aigc = std::string("ab\0cd", 5)}, info);
  EXPECT_STREQ(info.aigc_data, "ab");
  EXPECT_EQ(info.aigc_size, 2);
}

constexpr std::string_view kLabelled = R"(<x xmlns:a="http://www.tc260.org.cn/ns/AIGC/1.0/" a:AIGC=")";

std::string XmpSegment(std::string_view packet) {
  return AppSegment(1, std::string("http://ns.adobe.com/xap/1.0/\0", 29) + std::string(packet));
}

std::string LabelSegment(std::string_view label) {
  return XmpSegment(std::string(kLabelled) + std::string(label) + "\"/>");
}

/// A packet of the properties.
std::string Described(std::string_view properties) {
  return R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description rdf:about="" )"
         R"(xmlns:tiff="http://ns.adobe.com/tiff/1.0/" xmlns:xmp="http://ns.adobe.com/xap/1.0/" )" +
         std::string(properties) + "/></rdf:RDF>";
}

std::string CommentSegment(std::string_view comment) {
  TiffBuilder exif;
  exif.Add({TiffBuilder::Raw(kExifUserComment, 7, std::string("ASCII\0\0\0", 8) + std::string(comment))});
  return ExifSegment(exif.Bytes());
}

/// IPTC data sets in Photoshop's segment.
std::string IptcSegment(const std::string& data_sets) {
  return AppSegment(13, std::string("Photoshop 3.0\0"
                                    "8BIM\x04\x04\0\0",
                                    22) +
                            Be(data_sets.size(), 4) + data_sets + Zeros(data_sets.size() % 2));
}

std::string DataSet(std::uint8_t number, std::string_view text) {
  return std::string{'\x1C', '\x02', static_cast<char>(number), '\0', static_cast<char>(text.size())} +
         std::string(text);
}

void Query(const std::string& segments, QkImageInfo& info) {
  MemorySource source(JpegWith(segments));
  std::string reason;
  EXPECT_TRUE(QueryImage(source, info, &reason)) << reason;
}

TEST(QueryImageTest, PrefersTheLabelInXmpToTheOneInTheUserComment) {
  const std::string in_comment = R"({"Label":"comment"})";
  QkImageInfo info;
  Query(CommentSegment(in_comment), info);
  EXPECT_STREQ(info.aigc_data, in_comment.c_str());
  Query(CommentSegment(in_comment) + LabelSegment("first"), info);
  EXPECT_STREQ(info.aigc_data, "first");
  Query(CommentSegment(in_comment) + XmpSegment("<x/>") + LabelSegment("second") + LabelSegment("third"), info);
  EXPECT_STREQ(info.aigc_data, "second") << "of a packet behind the first";
}

TEST(QueryImageTest, LoadsTheLibraryOnlyForWhatExifLeavesOpen) {
  static std::string told;
  CoreWatchLoading([](const char* name) { told += name; });
  const std::string iptc = DataSet(55, "20120709") + DataSet(60, "120000+0000");
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(kExifMake, "Exif"), TiffBuilder::Ascii(kExifDateTimeOriginal, "2012:07:09 12:00:00")});
  const std::string whole = ExifSegment(exif.Bytes());
  QkImageInfo info;
  for (const std::string& segments :
       {std::string(), whole, CommentSegment("{}"), LabelSegment("label"), XmpSegment(Described("xmp:Rating=\"5\"")),
        whole + XmpSegment(Described("tiff:Make=\"Xmp\" xmp:CreateDate=\"2013-07-09T12:00:00\"")),
        whole + IptcSegment(iptc), IptcSegment(DataSet(5, "title"))}) {
    Query(segments, info);
    EXPECT_EQ(told, "");
  }
  Query(whole + XmpSegment(Described("tiff:Make=\"Xmp\" tiff:Model=\"EX-1\"")), info);
  EXPECT_STREQ(info.camera_maker, "Exif");
  EXPECT_STREQ(info.camera_model, "EX-1");
  EXPECT_EQ(told, "libMediaServerPictureTags.so");
  CoreWatchLoading(nullptr);
}

TEST(QueryImageTest, ReadsTheTimeThatOnlyIptcTells) {
  const Zone zone("UTC0");
  QkImageInfo info;
  Query(IptcSegment(DataSet(55, "20120709") + DataSet(60, "120000+0000")), info);
  EXPECT_STREQ(info.date, "2012:7:9:12:0:0,2012:7:9:12:0:0");
}

}  // namespace
}  // namespace media_server::image
