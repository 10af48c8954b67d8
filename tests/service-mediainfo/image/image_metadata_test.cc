#include "service-mediainfo/image/image_metadata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo::image {
namespace {

using core::ValAny;
using core::ValType;
using imagecore::QkImageInfo;
using testing::ElementsAre;
using testing::ElementsAreArray;

/// Remembers the order of the keys in front of a real store.
class RecordingStore : public IMetedataInfo {
 public:
  bool GetValue(const char* key, ValAny* out) override { return store_.GetValue(key, out); }
  bool SetValue(const char* key, const ValAny* value) override {
    if (keys.size() == most_keys) return false;
    keys.emplace_back(key);
    return store_.SetValue(key, value);
  }

  std::vector<std::string> keys;
  std::size_t most_keys = 100;

 private:
  MetadataInfoMPL store_;
};

char* MallocedText(const char* text) { return strdup(text); }

/// Every field has a value that no other has.
void FillFields(QkImageInfo& info) {
  info.flip = 2;
  info.picture_type = 7;
  info.width = 4032;
  info.height = -3024;
  info.rotation = 270;
  info.gif_frame_rate_num = 30;
  info.gif_frame_rate_den = 1001;
  info.sequence_total_frames = 77;
  info.gps_latitude = 52.5;
  info.gps_longitude = 13.25;
  info.exposure_time_s = 0.008;
  info.sequence_duration_s = 3.08;
  info.webp_duration_s = 4.5;
  info.gif_duration_s = 5.5;
  info.avif_duration_s = 6.5;
  std::strcpy(info.date, "a date");
  std::strcpy(info.camera_maker, "Maker \xC3\xA9");
  std::strcpy(info.camera_model, "Model");
  std::strcpy(info.gps_latitude_ref, "N");
  std::strcpy(info.gps_longitude_ref, "E");
  info.fourcc = 0xFEDCBA98;
  info.aigc_size = 5;
  info.aigc_data = MallocedText("{\"a\"}");
  info.alpha_mode = 1;
}

/// One of the values that a row may have.
struct Value {
  ValType type;
  double number = 0;
  const char* text = nullptr;
};

struct Row {
  const char* key;
  std::uint32_t flag;
  Value value;
};

constexpr std::array<Row, 23> kFlaggedRows{{
    {"Image_Metedata_GPSLatitude", 0x100, {ValType::kDouble, 52.5}},
    {"Image_Metedata_GPSLongitude", 0x200, {ValType::kDouble, 13.25}},
    {"Image_Metedata_GPSLatitudeRef", 0x10000, {ValType::kBuffer, 0, "N"}},
    {"Image_Metedata_GPSLongitudeRef", 0x20000, {ValType::kBuffer, 0, "E"}},
    {"Image_Metedata_CameraMaker", 0x4000, {ValType::kBuffer, 0, "Maker \xC3\xA9"}},
    {"Image_Metedata_CameraModel", 0x8000, {ValType::kBuffer, 0, "Model"}},
    {"Image_Metedata_Date", 0x4000000, {ValType::kBuffer, 0, "a date"}},
    {"Image_Metedata_ExposureTime", 0x400, {ValType::kDouble, 0.008}},
    {"Image_Metedata_Rotate", 0x10, {ValType::kInt32, 270}},
    {"Image_Metedata_Flip", 0x1, {ValType::kInt32, 2}},
    {"Image_Metedata_Width", 0x4, {ValType::kInt32, 4032}},
    {"Image_Metedata_Height", 0x8, {ValType::kInt32, -3024}},
    {"Image_Metedata_PicType", 0x2, {ValType::kInt32, 7}},
    {"Image_Metedata_PicSequenceDuration", 0x800, {ValType::kDouble, 3.08}},
    {"Image_Metedata_PicSequenceTotalFrames", 0x80, {ValType::kInt32, 77}},
    {"Image_Metedata_WebpDuration", 0x1000, {ValType::kDouble, 4.5}},
    {"Image_Metedata_GifDuration", 0x2000, {ValType::kDouble, 5.5}},
    {"Image_Metedata_GifFrameRate_Num", 0x20, {ValType::kInt32, 30}},
    {"Image_Metedata_GifFrameRate_Den", 0x40, {ValType::kInt32, 1001}},
    {"Image_Metedata_AIGCMetaSize", 0x100000, {ValType::kInt32, 5}},
    {"Image_Metedata_AIGCMetaData", 0x80000, {ValType::kBuffer, 0, "{\"a\"}"}},
    {"Image_Metedata_AvifDuration", 0x200000, {ValType::kDouble, 6.5}},
    {"Image_Metedata_FourCC", 0x40000, {ValType::kUInt32, 4275878552.0}},
}};

constexpr char kFlagKey[] = "Image_Metedata_Flag";
constexpr char kAlphaKey[] = "MediaFile_Metedata_ALPHA_MODE";

class StoreImageInfoTest : public testing::Test {
 protected:
  void ExpectValue(const char* key, const Value& expected) {
    ValAny value;
    ASSERT_TRUE(store_.GetValue(key, &value)) << key;
    ASSERT_EQ(value.type(), expected.type) << key;
    if (expected.text != nullptr) {
      EXPECT_STREQ(value.AsBuffer(), expected.text) << key;
    } else {
      EXPECT_EQ(value.AsDouble(), expected.number) << key;
    }
  }

  QkImageInfo info_;
  RecordingStore store_;
};

TEST_F(StoreImageInfoTest, WritesAllFieldsInOrder) {
  FillFields(info_);
  std::vector<std::string> keys{kFlagKey};
  for (const Row& row : kFlaggedRows) {
    info_.flags |= row.flag;
    keys.emplace_back(row.key);
  }
  keys.emplace_back(kAlphaKey);
  StoreImageInfo(info_, store_);
  EXPECT_THAT(store_.keys, ElementsAreArray(keys));
  for (const Row& row : kFlaggedRows) ExpectValue(row.key, row.value);
  ExpectValue(kFlagKey, {ValType::kInt32, 71303167.0});
  ExpectValue(kAlphaKey, {ValType::kInt32, 1});
}

TEST_F(StoreImageInfoTest, WritesAFieldOnlyWithItsFlag) {
  for (const Row& row : kFlaggedRows) {
    QkImageInfo info;
    FillFields(info);
    info.flags = row.flag;
    RecordingStore store;
    StoreImageInfo(info, store);
    EXPECT_THAT(store.keys, ElementsAre(kFlagKey, row.key, kAlphaKey));
  }
}

TEST_F(StoreImageInfoTest, WritesNothingButTheFlagsWithoutAny) {
  FillFields(info_);
  StoreImageInfo(info_, store_);
  EXPECT_THAT(store_.keys, ElementsAre(kFlagKey));
  ExpectValue(kFlagKey, {ValType::kInt32, 0});
}

TEST_F(StoreImageInfoTest, WritesFlagsAsASignedNumber) {
  info_.flags = 0x80000000;
  StoreImageInfo(info_, store_);
  EXPECT_THAT(store_.keys, ElementsAre(kFlagKey, kAlphaKey));
  ExpectValue(kFlagKey, {ValType::kInt32, -2147483648.0});
}

TEST_F(StoreImageInfoTest, KeepsTextsOfItsOwn) {
  FillFields(info_);
  info_.flags = imagecore::kHasCameraMaker | imagecore::kHasAigcData;
  StoreImageInfo(info_, store_);
  std::memset(info_.camera_maker, 'x', sizeof(info_.camera_maker));
  std::memset(info_.aigc_data, 'x', 5);
  ExpectValue("Image_Metedata_CameraMaker", {ValType::kBuffer, 0, "Maker \xC3\xA9"});
  ExpectValue("Image_Metedata_AIGCMetaData", {ValType::kBuffer, 0, "{\"a\"}"});
}

TEST_F(StoreImageInfoTest, ReadsNoFurtherThanATextField) {
  std::memset(info_.camera_maker, 'x', sizeof(info_.camera_maker));
  std::strcpy(info_.camera_model, "Model");
  info_.flags = imagecore::kHasCameraMaker;
  StoreImageInfo(info_, store_);
  const std::string full(256, 'x');
  ExpectValue("Image_Metedata_CameraMaker", {ValType::kBuffer, 0, full.c_str()});
}

TEST_F(StoreImageInfoTest, WritesAnEmptyTextThatIsThere) {
  info_.flags = imagecore::kHasDate;
  StoreImageInfo(info_, store_);
  ExpectValue("Image_Metedata_Date", {ValType::kBuffer, 0, ""});
}

TEST_F(StoreImageInfoTest, WritesNoLabelWithoutAText) {
  info_.flags = imagecore::kHasAigcData | imagecore::kHasAigcSize;
  info_.aigc_size = 12;
  StoreImageInfo(info_, store_);
  EXPECT_THAT(store_.keys, ElementsAre(kFlagKey, "Image_Metedata_AIGCMetaSize", kAlphaKey));
}

TEST_F(StoreImageInfoTest, CopiesTheLabelToItsEndWhateverItsSizeSays) {
  for (const std::int32_t size : {-1, 0, 3, 4, 1000}) {
    QkImageInfo info;
    info.flags = imagecore::kHasAigcData;
    info.aigc_size = size;
    info.aigc_data = MallocedText("text");
    RecordingStore store;
    StoreImageInfo(info, store);
    ValAny value;
    ASSERT_TRUE(store.GetValue("Image_Metedata_AIGCMetaData", &value));
    EXPECT_STREQ(value.AsBuffer(), "text") << size;
    // The buffer is as large as the size tells, and zero behind the text.
    if (size == 1000) {
      EXPECT_EQ(value.AsBuffer()[1000], '\0');
    }
  }
}

TEST_F(StoreImageInfoTest, ThrowsWhenTheStoreTakesNoMore) {
  FillFields(info_);
  for (const Row& row : kFlaggedRows) info_.flags |= row.flag;
  for (std::size_t most = 0; most < kFlaggedRows.size() + 2; ++most) {
    RecordingStore store;
    store.most_keys = most;
    EXPECT_THROW(StoreImageInfo(info_, store), std::bad_alloc) << most;
    EXPECT_EQ(store.keys.size(), most);
  }
}

}  // namespace
}  // namespace service::mediainfo::image
