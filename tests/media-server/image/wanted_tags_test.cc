#include "media-server/image/wanted_tags.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace media_server::image {
namespace {

std::vector<std::string> WantedIn(std::string_view packet, const PictureTags& tags = {}) {
  std::vector<std::string> names;
  for (const XmpName& name : WantedXmpNames(packet, tags)) {
    names.push_back(std::string(name.prefix) + ":" + std::string(name.local_name));
  }
  return names;
}

using Names = std::vector<std::string>;

TEST(WantedTagsTest, FindsNamesOfElementsAndAttributes) {
  EXPECT_EQ(WantedIn("<tiff:Make>"), Names{"tiff:Make"});
  EXPECT_EQ(WantedIn("<Make xmlns='http://ns.adobe.com/tiff/1.0/'>"), Names{"tiff:Make"});
  EXPECT_EQ(WantedIn(" other:Make=\"x\""), Names{"tiff:Make"}) << "any prefix may be bound to the namespace";
  EXPECT_EQ(WantedIn(" tiff:Make\n= \"x\""), Names{"tiff:Make"});
  EXPECT_EQ(WantedIn("<tiff:Make/>"), Names{"tiff:Make"});
}

TEST(WantedTagsTest, TakesPartsOfNamesAndTextsForNoNames) {
  for (const std::string_view packet : {"", "Make", "<Make", ":Make", "Make>", "<aux:LensModel>",
                                        "<exif:GPSLatitudeRef>", "<tiff:Make.er>", "<p>Make up</p>"}) {
    EXPECT_EQ(WantedIn(packet), Names()) << packet;
  }
  EXPECT_EQ(WantedIn("<aux:LensModel>Model<tiff:Model>"), Names{"tiff:Model"});
}

TEST(WantedTagsTest, GivesNamesInTheOrderOfPrecedence) {
  EXPECT_EQ(
      WantedIn("<exif:GPSLongitude><xmp:ModifyDate><photoshop:DateCreated><xmp:CreateDate><exif:DateTimeOriginal>"),
      (Names{"exif:DateTimeOriginal", "xmp:CreateDate", "photoshop:DateCreated", "xmp:ModifyDate",
             "exif:GPSLongitude"}));
}

TEST(WantedTagsTest, WantsNothingThatIsKnown) {
  constexpr std::string_view kAll =
      "<tiff:Make><tiff:Model><exif:DateTimeOriginal><xmp:CreateDate><photoshop:DateCreated><xmp:ModifyDate>"
      "<exif:ExposureTime><exif:ShutterSpeedValue><tiff:Orientation><exif:GPSLatitude><exif:GPSLongitude>";
  EXPECT_EQ(WantedIn(kAll).size(), 11U);
  PictureTags tags;
  const auto left = [&] { return WantedIn(kAll, tags).size(); };
  tags.maker = "Acme";
  EXPECT_EQ(left(), 10U);
  tags.model = "EX-1";
  EXPECT_EQ(left(), 9U);
  tags.created = 0;
  EXPECT_EQ(left(), 6U);
  tags.modified = 0;
  EXPECT_EQ(left(), 5U);
  tags.exposure_time_s = 1;
  EXPECT_EQ(left(), 3U);
  tags.orientation = Orientation{};
  EXPECT_EQ(left(), 2U);
  tags.latitude_degrees = 0;
  EXPECT_EQ(WantedIn(kAll, tags), Names{"exif:GPSLongitude"});
  tags.longitude_degrees = 0;
  EXPECT_EQ(left(), 0U);
}

TEST(WantedTagsTest, LooksNoFurtherThanThePadding) {
  EXPECT_EQ(WantedIn(std::string("<tiff:Make>\0<tiff:Model>", 24)), Names{"tiff:Make"});
}

bool IsWanted(std::string_view data_sets, const PictureTags& tags = {}) {
  return HasWantedIptc({reinterpret_cast<const std::uint8_t*>(data_sets.data()), data_sets.size()}, tags);
}

TEST(WantedTagsTest, WantsTheTimeOfCreationOfIptc) {
  EXPECT_TRUE(IsWanted("\x1C\x02\x05....\x1C\x02\x37...."));
  EXPECT_TRUE(IsWanted("\x1C\x02\x3C...."));
  EXPECT_TRUE(IsWanted("\x1C\x02\x3E...."));
  EXPECT_TRUE(IsWanted("\x1C\x02\x3F...."));
  EXPECT_FALSE(IsWanted("\x1C\x02\x3D...."));
  EXPECT_FALSE(IsWanted("\x1C\x02\x05....\x1C\x01\x37...."));
  EXPECT_FALSE(IsWanted(""));
  EXPECT_FALSE(IsWanted("\x1C\x02\x37....", {.created = 7}));
}

}  // namespace
}  // namespace media_server::image
