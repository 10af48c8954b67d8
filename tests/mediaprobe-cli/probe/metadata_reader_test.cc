#include "probe/metadata_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "fake_media.h"
#include "mediainfo/metedata_keys.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using testing::FakeStore;

std::vector<std::string_view> KeysOf(const Metadata& metadata) {
  std::vector<std::string_view> names;
  for (const MetadataEntry& entry : metadata) names.push_back(entry.key);
  return names;
}

TEST(MetadataReader, TextsStandInTheOrderOfTheKeys) {
  FakeStore store;
  store.SetText(keys::kModel, "Cam 9");
  store.SetText(keys::kTitle, "Am Meer");
  store.SetText(keys::kArtist, "Ada");
  const Metadata metadata = ReadFileMetadata(store);
  EXPECT_EQ(KeysOf(metadata), (std::vector<std::string_view>{"MediaFile_Metedata_Artist", "MediaFile_Metedata_Title",
                                                             "MediaFile_Metedata_Model"}));
  EXPECT_EQ(MetadataText(metadata, keys::kTitle), "Am Meer");
}

TEST(MetadataReader, EmptyAndNullTextsAreLeftOut) {
  FakeStore store;
  store.SetText(keys::kTitle, "");
  store.SetText(keys::kImageData, static_cast<const char*>(nullptr));
  store.SetText(keys::kAlbum, static_cast<const char*>(nullptr));
  store.SetLabel("");
  EXPECT_TRUE(ReadFileMetadata(store).empty());
}

TEST(MetadataReader, NumbersThatTellNothingAreLeftOut) {
  FakeStore store;
  store.SetNumber(keys::kVideoKind, 1);
  store.SetNumber(keys::kContentRating, 0);
  store.SetNumber(keys::kDefinition, -1);
  store.SetNumber(keys::kAlphaMode, 0);
  store.SetDate(keys::kCreateDate, -1);
  store.SetDate(keys::kModifyDate, -1);
  EXPECT_TRUE(ReadFileMetadata(store).empty());

  store.SetNumber(keys::kVideoKind, 0);
  store.SetNumber(keys::kContentRating, 1);
  store.SetNumber(keys::kDefinition, 0);
  store.SetNumber(keys::kAlphaMode, 2);
  store.SetDate(keys::kCreateDate, 5'000'000'000);
  store.SetDate(keys::kModifyDate, 0);
  const Metadata metadata = ReadFileMetadata(store);
  EXPECT_EQ(metadata.size(), 6u);
  EXPECT_EQ(MetadataInteger(metadata, keys::kAlphaMode), 2);
  EXPECT_EQ(MetadataInteger(metadata, keys::kCreateDate), 5'000'000'000);
}

TEST(MetadataReader, WhatTheStoreCannotAnswerIsLeftOut) {
  FakeStore store;
  store.SetText(keys::kTitle, "Am Meer");
  store.Spoil(keys::kCreateDate);
  EXPECT_EQ(KeysOf(ReadFileMetadata(store)), std::vector<std::string_view>{"MediaFile_Metedata_Title"});
}

TEST(MetadataReader, LabelIsReadAsText) {
  FakeStore store;
  store.SetLabel("{\"Label\":\"1\"}");
  EXPECT_EQ(MetadataText(ReadFileMetadata(store), keys::kAigcMeta), "{\"Label\":\"1\"}");
}

TEST(MetadataReader, VideoValuesAllStay) {
  FakeStore store;
  store.SetNumber(keys::kVideoMatrixCoefficients, 0);
  store.SetRational(keys::kVideoMaxFramerate, {29970, 1000});
  store.SetText(keys::kVideoFormatProfile, u"High@L4.1");
  store.SetNumber(keys::kVideoCleanApertureXoff, -1);
  const Metadata metadata = ReadVideoMetadata(store);
  EXPECT_EQ(metadata.size(), 4u);
  EXPECT_EQ(MetadataInteger(metadata, keys::kVideoMatrixCoefficients), 0);
  EXPECT_EQ(MetadataInteger(metadata, keys::kVideoCleanApertureXoff), -1);
  EXPECT_EQ(MetadataText(metadata, keys::kVideoFormatProfile), "High@L4.1");
  EXPECT_EQ(std::get<core::Rational>(*FindMetadata(metadata, keys::kVideoMaxFramerate)), (core::Rational{29970, 1000}));
}

TEST(MetadataReader, WideTextsThatFillTheirBufferHaveNoTerminator) {
  const std::u16string text(keys::kVideoFormatSettingsGopUnits, u'x');
  const std::u16string memory = text + u"beyond";
  FakeStore store;
  store.SetText(keys::kVideoFormatSettingsGop, memory.c_str());
  store.SetText(keys::kVideoFormatProfile, u"");
  const Metadata metadata = ReadVideoMetadata(store);
  EXPECT_EQ(MetadataText(metadata, keys::kVideoFormatSettingsGop), "xxxxxxxxxxxxxxxx");
  EXPECT_EQ(metadata.size(), 1u);
}

TEST(MetadataReader, ImageValuesStandInTheOrderOfTheStore) {
  FakeStore store;
  store.SetNumber(keys::kAlphaMode, 0);
  store.SetNumber(keys::kImageFlag, 5);
  store.SetText(keys::kImageAigcMetaData, "by a machine");
  store.SetDate(keys::kImageCreateDate, 0);
  store.SetDate(keys::kImageModifyDate, -1);
  store.SetText(keys::kImageCameraMaker, "");
  store.SetDegrees(keys::kImageExposureTime, std::numeric_limits<double>::infinity());
  store.SetDegrees(keys::kImageGifDuration, 1.5);
  const Metadata metadata = ReadImageMetadata(store);
  EXPECT_EQ(KeysOf(metadata), (std::vector<std::string_view>{
                                  "Image_Metedata_Flag", "Image_Metedata_CreateDate", "Image_Metedata_GifDuration",
                                  "Image_Metedata_AIGCMetaData", "MediaFile_Metedata_ALPHA_MODE"}));
  EXPECT_EQ(MetadataInteger(metadata, keys::kAlphaMode), 0);
  EXPECT_EQ(MetadataNumber(metadata, keys::kImageGifDuration), 1.5);
  EXPECT_EQ(MetadataNumber(metadata, keys::kImageFlag), std::nullopt);
}

TEST(MetadataReader, PlaceOfAnImage) {
  FakeStore store;
  store.SetDegrees(keys::kImageGpsLatitude, 33.8568);
  store.SetText(keys::kImageGpsLatitudeRef, "S");
  store.SetDegrees(keys::kImageGpsLongitude, 151.2153);
  EXPECT_FALSE(MetadataLocation(ReadImageMetadata(store)));
  store.SetText(keys::kImageGpsLongitudeRef, "E");
  const auto place = MetadataLocation(ReadImageMetadata(store));
  ASSERT_TRUE(place);
  EXPECT_EQ(place->latitude, -33.8568);
  EXPECT_EQ(place->longitude, 151.2153);
}

class LocationTest : public ::testing::Test {
 protected:
  std::optional<Location> Read(double latitude, const char* north, double longitude, const char* east) {
    store_.SetDegrees(keys::kGpsLatitude, latitude);
    store_.SetText(keys::kGpsLatitudeRef, north);
    store_.SetDegrees(keys::kGpsLongitude, longitude);
    store_.SetText(keys::kGpsLongitudeRef, east);
    return MetadataLocation(ReadFileMetadata(store_));
  }
  FakeStore store_;
};

TEST_F(LocationTest, HemispheresGiveTheSign) {
  const auto south_east = Read(33.8568, "S", 151.2153, "E");
  ASSERT_TRUE(south_east);
  EXPECT_EQ(south_east->latitude, -33.8568);
  EXPECT_EQ(south_east->longitude, 151.2153);
  const auto north_west = Read(40.5, "N", 74.25, "W");
  ASSERT_TRUE(north_west);
  EXPECT_EQ(north_west->latitude, 40.5);
  EXPECT_EQ(north_west->longitude, -74.25);
}

TEST_F(LocationTest, ZeroDegreesAreAPlaceWhereTheHemisphereIsTold) {
  const auto null_island = Read(0, "S", 0, "W");
  ASSERT_TRUE(null_island);
  EXPECT_FALSE(std::signbit(null_island->latitude));
  EXPECT_FALSE(std::signbit(null_island->longitude));
}

TEST_F(LocationTest, WithoutHemispheresThereIsNoPlace) {
  EXPECT_FALSE(Read(0, "", 0, ""));
  EXPECT_TRUE(ReadFileMetadata(store_).empty());
  EXPECT_FALSE(Read(10, "N", 20, ""));
}

TEST_F(LocationTest, PlacesAreOnTheGlobe) {
  EXPECT_TRUE(Read(90, "N", 180, "W"));
  EXPECT_FALSE(Read(90.1, "N", 0, "E"));
  EXPECT_FALSE(Read(0, "N", 180.1, "E"));
  EXPECT_FALSE(Read(std::numeric_limits<double>::quiet_NaN(), "N", 1, "E"));
  EXPECT_FALSE(Read(1, "N", std::numeric_limits<double>::infinity(), "E"));
}

TEST(MetadataReader, ValuesOfAnotherTypeAreNotTaken) {
  const Metadata metadata = {{"number", std::int64_t{1}}, {"text", std::string("x")}};
  EXPECT_EQ(MetadataText(metadata, "number"), std::nullopt);
  EXPECT_EQ(MetadataInteger(metadata, "text"), std::nullopt);
  EXPECT_EQ(MetadataText(metadata, "none"), std::nullopt);
}

}  // namespace
}  // namespace mediaprobe
