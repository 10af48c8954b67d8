#include "service-mediainfo/media_info/stream_properties.h"

#include <map>
#include <string_view>

#include "core/rational.h"
#include "fakes/fixture.h"
#include "fakes/media.h"
#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo::media_info::impl {
namespace {

class StreamPropertiesTest : public fakes::Fixture {
 protected:
  void Import(bool has_stacked_alpha = false) { ImportStreamProperties(reader_, has_stacked_alpha, store_); }

  core::ValAny Stored(const char* key) {
    core::ValAny value;
    EXPECT_TRUE(store_.GetValue(key, &value)) << key;
    return value;
  }
  bool IsStored(const char* key) {
    core::ValAny value;
    return store_.GetValue(key, &value);
  }
  core::Rational StoredFrameRate(double frames_per_second) {
    reader_.numbers[u"KEY_QK_MAX_FRAMERATE"] = frames_per_second;
    Import();
    const core::ValAny value = Stored("MediaFile_Metedata_Video_Max_Framerate");
    EXPECT_EQ(value.type(), core::ValType::kBoxed);
    const auto* rate = value.AsBoxed<core::Rational>();
    return rate ? *rate : core::Rational{};
  }

  fakes::PropertyReader reader_;
  MetadataInfoMPL store_;
};

struct KeyPair {
  const char16_t* server_key;
  const char* stored_key;
};

constexpr std::array<KeyPair, 15> kIntegerKeys{{
    {u"KEY_QK_TRANSFER_CHARACTERISTICS", "MediaFile_Metedata_Video_Transfer_Characteristics"},
    {u"KEY_QK_MATRIX_COEFFICIENTS", "MediaFile_Metedata_Video_Matrix_Coefficients"},
    {u"KEY_QK_ALPHA_CHANNEL", "MediaFile_Metedata_Video_Alpha_Channel"},
    {u"KEY_QK_FORMAT_SETTINGS_CABAC", "MediaFile_Metedata_Video_Format_Settings_CABAC"},
    {u"KEY_QK_FORMAT_SETTINGS_REFFRAME", "MediaFile_Metedata_Video_Format_Settings_Refframe"},
    {u"KEY_QK_IS_TRUNCATED", "MediaFile_Metedata_Video_Is_Truncated"},
    {u"KEY_QK_IS_DOLBYVISION", "MediaFile_Metedata_Video_Is_DolbyVision"},
    {u"KEY_QK_VIDEO_COUNT_OF_VIEWS", "MediaFile_Metedata_Video_Count_of_Views"},
    {u"KEY_QK_VIDEO_FULL_IDR", "MediaFile_Metedata_Video_FULL_IDR"},
    {u"KEY_QK_CLEANAPERTURE_WIDTH", "MediaFile_Metedata_Video_CeanAperture_Width"},
    {u"KEY_QK_CLEANAPERTURE_HEIGHT", "MediaFile_Metedata_Video_CeanAperture_Height"},
    {u"KEY_QK_CLEANAPERTURE_XOFF", "MediaFile_Metedata_Video_CeanAperture_Xoff"},
    {u"KEY_QK_CLEANAPERTURE_YOFF", "MediaFile_Metedata_Video_CeanAperture_Yoff"},
    {u"KEY_Frame_View_3D_Mode", "MediaFile_Metedata_Video_Frame_View_3D_Mode"},
    {u"KEY_Frame_View_3D_Angle", "MediaFile_Metedata_Video_Frame_View_3D_Angle"},
}};

TEST_F(StreamPropertiesTest, StoresEveryIntegerUnderItsOwnKey) {
  std::int32_t value = -1;
  for (const KeyPair& pair : kIntegerKeys) reader_.integers[pair.server_key] = value--;
  Import();
  value = -1;
  for (const KeyPair& pair : kIntegerKeys) {
    const core::ValAny stored = Stored(pair.stored_key);
    EXPECT_EQ(stored.type(), core::ValType::kInt32) << pair.stored_key;
    EXPECT_EQ(stored.AsInt32(), value--) << pair.stored_key;
  }
}

TEST_F(StreamPropertiesTest, AsksInTheOrderOfTheTable) {
  Import();
  EXPECT_EQ(reader_.asked,
            (std::vector<std::u16string>{
                u"KEY_QK_TRANSFER_CHARACTERISTICS", u"KEY_QK_MATRIX_COEFFICIENTS", u"KEY_QK_ALPHA_CHANNEL",
                u"KEY_QK_MAX_FRAMERATE", u"KEY_QK_FORMAT_PROFILE", u"KEY_QK_FORMAT_SETTINGS_GOP",
                u"KEY_QK_FORMAT_SETTINGS_CABAC", u"KEY_QK_FORMAT_SETTINGS_REFFRAME", u"KEY_QK_IS_TRUNCATED",
                u"KEY_QK_IS_DOLBYVISION", u"KEY_QK_VIDEO_COUNT_OF_VIEWS", u"KEY_QK_VIDEO_FULL_IDR",
                u"KEY_QK_CLEANAPERTURE_WIDTH", u"KEY_QK_CLEANAPERTURE_HEIGHT", u"KEY_QK_CLEANAPERTURE_XOFF",
                u"KEY_QK_CLEANAPERTURE_YOFF", u"KEY_Frame_View_3D_Mode", u"KEY_Frame_View_3D_Angle"}));
}

TEST_F(StreamPropertiesTest, StoresNothingForWhatTheReaderDoesNotDeliver) {
  Import();
  for (const KeyPair& pair : kIntegerKeys) EXPECT_FALSE(IsStored(pair.stored_key)) << pair.stored_key;
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Max_Framerate"));
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Format_Profile"));
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Format_Settings_Gop"));
}

TEST_F(StreamPropertiesTest, TakesOnlyStatusZeroAsFound) {
  reader_.integers[u"KEY_QK_IS_TRUNCATED"] = 1;
  reader_.numbers[u"KEY_QK_MAX_FRAMERATE"] = 25;
  reader_.texts[u"KEY_QK_FORMAT_PROFILE"] = u"Main";
  reader_.status_when_found = 1;
  Import();
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Is_Truncated"));
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Max_Framerate"));
  EXPECT_FALSE(IsStored("MediaFile_Metedata_Video_Format_Profile"));
}

TEST_F(StreamPropertiesTest, ReplacesTheAlphaOfAStackedAlphaSource) {
  reader_.integers[u"KEY_QK_ALPHA_CHANNEL"] = 0;
  Import(/*has_stacked_alpha=*/true);
  const core::ValAny value = Stored("MediaFile_Metedata_Video_Alpha_Channel");
  EXPECT_EQ(value.type(), core::ValType::kInt32);
  EXPECT_EQ(value.AsInt32(), 1);
}

TEST_F(StreamPropertiesTest, StoresTheAlphaOfAStackedAlphaSourceThatTheReaderDoesNotTell) {
  Import(/*has_stacked_alpha=*/true);
  EXPECT_EQ(Stored("MediaFile_Metedata_Video_Alpha_Channel").AsInt32(), 1);
}

TEST_F(StreamPropertiesTest, StoresTheMaximumFrameRateUnreduced) {
  EXPECT_EQ(StoredFrameRate(29.97), (core::Rational{29970, 1000}));
  EXPECT_EQ(StoredFrameRate(25), (core::Rational{25000, 1000}));
  EXPECT_EQ(StoredFrameRate(0), (core::Rational{1, 1}));
  EXPECT_EQ(StoredFrameRate(-30), (core::Rational{1, 1}));
  EXPECT_EQ(StoredFrameRate(0.0005), (core::Rational{0, 1000}));
}

struct WideTextKey {
  const char16_t* server_key;
  const char* stored_key;
  std::size_t units;
};

class StreamPropertiesTextTest : public StreamPropertiesTest, public testing::WithParamInterface<WideTextKey> {
 protected:
  /// The stored buffer, all of it.
  std::u16string Buffer(const fakes::Text& text) {
    reader_.texts[GetParam().server_key] = text;
    Import();
    const core::ValAny value = Stored(GetParam().stored_key);
    EXPECT_EQ(value.type(), core::ValType::kBuffer);
    return {value.AsBuffer<const char16_t>(), GetParam().units};
  }
};

TEST_P(StreamPropertiesTextTest, PadsAShortTextWithZeros) {
  std::u16string expected = u"High@L4.1";
  expected.resize(GetParam().units, u'\0');
  EXPECT_EQ(Buffer(u"High@L4.1"), expected);
}

TEST_P(StreamPropertiesTextTest, CutsALongTextToTheBuffer) {
  EXPECT_EQ(Buffer(std::u16string(GetParam().units + 6, u'x')), std::u16string(GetParam().units, u'x'));
}

TEST_P(StreamPropertiesTextTest, StoresANullTextAsAnEmptyOne) {
  EXPECT_EQ(Buffer(std::nullopt), std::u16string(GetParam().units, u'\0'));
}

INSTANTIATE_TEST_SUITE_P(
    Keys, StreamPropertiesTextTest,
    testing::Values(WideTextKey{u"KEY_QK_FORMAT_PROFILE", "MediaFile_Metedata_Video_Format_Profile", 64},
                    WideTextKey{u"KEY_QK_FORMAT_SETTINGS_GOP", "MediaFile_Metedata_Video_Format_Settings_Gop", 16}));

}  // namespace
}  // namespace service::mediainfo::media_info::impl
