#include "media-server/picture_tags/xmp_tags.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/media-server/zone.h"

namespace media_server::picture_tags {
namespace {

std::string Packet(std::string_view properties) {
  return R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?>
<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">
<rdf:Description rdf:about="" xmlns:tiff="http://ns.adobe.com/tiff/1.0/" xmlns:exif="http://ns.adobe.com/exif/1.0/"
 xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmlns:photoshop="http://ns.adobe.com/photoshop/1.0/">)" +
         std::string(properties) + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
}

image::PictureTags Read(std::string_view properties) {
  image::PictureTags tags;
  ReadXmpTags(Packet(properties), tags);
  return tags;
}

TEST(XmpTagsTest, ReadsMakerModelAndExposure) {
  const auto tags = Read(
      "<tiff:Make>Acme &amp; Co</tiff:Make><tiff:Model>EX-1 </tiff:Model><exif:ExposureTime>1/125</exif:ExposureTime>");
  EXPECT_EQ(tags.maker, "Acme & Co");
  EXPECT_EQ(tags.model, "EX-1");
  EXPECT_DOUBLE_EQ(tags.exposure_time_s.value_or(0), 0.008);
}

TEST(XmpTagsTest, ReadsAShutterSpeed) {
  EXPECT_DOUBLE_EQ(*Read("<exif:ShutterSpeedValue>6/1</exif:ShutterSpeedValue>").exposure_time_s, 1 / 64.0);
  EXPECT_EQ(Read("<exif:ExposureTime>1/0</exif:ExposureTime>").exposure_time_s, std::nullopt);
  EXPECT_EQ(Read("<exif:ExposureTime>soon</exif:ExposureTime>").exposure_time_s, std::nullopt);
}

TEST(XmpTagsTest, ReadsDatesWithAndWithoutZone) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const auto tags = Read(
      "<xmp:CreateDate>2012-07-09T14:00:00.79</xmp:CreateDate><xmp:ModifyDate>2012-07-09T21:00+09:00</xmp:ModifyDate>");
  EXPECT_EQ(tags.created, 1341835200);
  EXPECT_EQ(tags.modified, 1341835200);
}

TEST(XmpTagsTest, TakesTheFirstDateOfCreationThatIsATime) {
  EXPECT_EQ(Read("<photoshop:DateCreated>2012-07-09T12:00:00Z</photoshop:DateCreated>"
                 "<xmp:CreateDate>2013-01-01T00:00:00Z</xmp:CreateDate>"
                 "<exif:DateTimeOriginal>2012-07-09</exif:DateTimeOriginal>")
                .created,
            1356998400);
  EXPECT_EQ(Read("<photoshop:DateCreated>2012-07-09T12:00:00Z</photoshop:DateCreated>").created, 1341835200);
}

TEST(XmpTagsTest, ReadsPlaces) {
  const auto tags =
      Read("<exif:GPSLatitude>33,51,24S</exif:GPSLatitude><exif:GPSLongitude>70,40.5W</exif:GPSLongitude>");
  EXPECT_DOUBLE_EQ(tags.latitude_degrees.value_or(0), 33 + 51 / 60.0 + 24 / 3600.0);
  EXPECT_DOUBLE_EQ(tags.longitude_degrees.value_or(0), 70.675);
  EXPECT_EQ(tags.latitude_ref, 'S');
  EXPECT_EQ(tags.longitude_ref, 'W');
  for (const char* text :
       {"", "N", "48", "48,51.5", "48,51.5Nord", "91,0N", "48,51,24,3N", "48,51.5E", "48;51N", "-48,51.5N"}) {
    EXPECT_EQ(Read("<exif:GPSLatitude>" + std::string(text) + "</exif:GPSLatitude>").latitude_degrees, std::nullopt)
        << text;
  }
}

TEST(XmpTagsTest, ReadsOrientations) {
  EXPECT_EQ(Read("<tiff:Orientation>7</tiff:Orientation>").orientation,
            (image::Orientation{imagecore::kFlipHorizontal, 90}));
  for (const char* text : {"0", "9", "", "12", "/"}) {
    EXPECT_EQ(Read("<tiff:Orientation>" + std::string(text) + "</tiff:Orientation>").orientation, std::nullopt) << text;
  }
}

TEST(XmpTagsTest, KeepsWhatIsKnown) {
  image::PictureTags tags;
  tags.maker = "Known";
  ReadXmpTags(Packet("<tiff:Make>Other</tiff:Make><tiff:Model>EX-1</tiff:Model>"), tags);
  EXPECT_EQ(tags.maker, "Known");
  EXPECT_EQ(tags.model, "EX-1");
}

TEST(XmpTagsTest, ReadsAPaddedPacket) {
  image::PictureTags tags;
  ReadXmpTags(Packet("<tiff:Make>Acme</tiff:Make>") + std::string(100, '\0'), tags);
  EXPECT_EQ(tags.maker, "Acme");
}

TEST(XmpTagsTest, ReadsNothingFromWhatIsNoPacket) {
  std::string deep = "<tiff:Make>";
  for (int i = 0; i < 20000; ++i) deep += "<tiff:a>";
  for (const std::string& packet : {std::string(), std::string("tiff:Make"), Packet("<tiff:Make>Acme"), deep}) {
    image::PictureTags tags;
    ReadXmpTags(packet, tags);
    EXPECT_EQ(tags.maker, std::nullopt);
  }
}

TEST(XmpTagsTest, ReadsOnSeveralThreadsAtOnce) {
  const std::string packet = Packet("<tiff:Make>Acme</tiff:Make>");
  std::vector<image::PictureTags> results(8);
  std::vector<std::thread> threads;
  for (image::PictureTags& result : results) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        result = {};
        ReadXmpTags(packet, result);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const image::PictureTags& result : results) EXPECT_EQ(result.maker, "Acme");
}

}  // namespace
}  // namespace media_server::picture_tags
