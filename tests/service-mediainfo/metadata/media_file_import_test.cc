#include "service-mediainfo/metadata/media_file_import.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "fakes/fixture.h"
#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo {
namespace {

using core::ValAny;
using core::ValType;

/// Answers each operation with its own name, or with null.
class Source : public IMetaDataInfo {
 public:
  const char* GetArtist() override { return "slot 1"; }
  const char* GetTitle() override { return "slot 2"; }
  const char* GetTrackNumber() override { return "slot 3"; }
  const char* GetAlbum() override { return "slot 4"; }
  const char* GetDate() override { return "slot 5"; }
  const char* GetGenre() override { return "slot 6"; }
  const char* GetPublisher() override { return "slot 7"; }
  const char* GetShow() override { return "slot 8"; }
  const char* GetReleaseDate() override { return nullptr; }
  const char* GetActor() override { return actor; }
  const char* GetDirector() override { return "slot 11"; }
  const char* GetProducer() override { return "slot 12"; }
  const char* GetScreenwriter() override { return "slot 13"; }
  const char* GetTagline() override { return "slot 14"; }
  const char* GetDescription() override { return "slot 15"; }
  const char* GetComment() override { return "slot 16"; }
  const char* GetTvnetwork() override { return "slot 17"; }
  const char* GetMaker() override { return "slot 18"; }
  const char* GetModel() override { return "slot 19"; }
  double GetGpsLatitude() override { return 20.5; }
  double GetGpsLongitude() override { return 21.5; }
  const char* GetGpsLatitudeRef() override { return "slot 22"; }
  const char* GetGpsLongitudeRef() override { return "slot 23"; }
  std::int32_t GetVideoKind() override { return -24; }
  std::int32_t Reserved25() override { return Unread(); }
  std::int32_t Reserved26() override { return Unread(); }
  void* GetImageData() override { return image_data; }
  std::int32_t GetContentRating() override { return -28; }
  std::int32_t GetDefinition() override { return -29; }
  const metedata_keys::AIGC_META* GetAigcMeta() override { return has_aigc_meta ? &aigc_meta : nullptr; }
  std::int32_t GetAlphaMode() override { return -31; }

  static std::int32_t Unread() {
    ADD_FAILURE() << "an operation that feeds no key was read";
    return 0;
  }

  const char* actor = "slot 10";
  void* image_data = nullptr;
  bool has_aigc_meta = true;
  metedata_keys::AIGC_META aigc_meta;
};

/// Records the keys in the order in which they are set.
class RecordingStore : public IMetedataInfo {
 public:
  bool GetValue(const char* key, ValAny* out) override { return store_.GetValue(key, out); }
  bool SetValue(const char* key, const ValAny* value) override {
    keys.emplace_back(key);
    return store_.SetValue(key, value);
  }

  std::vector<std::string> keys;

 private:
  MetadataInfoMPL store_;
};

class MediaFileImportTest : public fakes::Fixture {
 protected:
  void Import() { ImportMediaFileMetadata(source_, store_); }
  ValAny Get(const char* key) {
    ValAny value;
    EXPECT_TRUE(store_.GetValue(key, &value)) << key;
    return value;
  }

  Source source_;
  RecordingStore store_;
};

TEST_F(MediaFileImportTest, StoresEveryTextUnderItsKey) {
  const std::map<const char*, const char*> expected{{"MediaFile_Metedata_Artist", "slot 10"},
                                                    {"MediaFile_Metedata_Title", "slot 2"},
                                                    {"MediaFile_Metedata_TrackNumber", "slot 3"},
                                                    {"MediaFile_Metedata_Album", "slot 4"},
                                                    {"MediaFile_Metedata_Date", "slot 5"},
                                                    {"MediaFile_Metedata_Genre", "slot 6"},
                                                    {"MediaFile_Metedata_Publisher", "slot 7"},
                                                    {"MediaFile_Metedata_Show", "slot 8"},
                                                    {"MediaFile_Metedata_ReleaseDate", ""},
                                                    {"MediaFile_Metedata_Actor", "slot 10"},
                                                    {"MediaFile_Metedata_Director", "slot 11"},
                                                    {"MediaFile_Metedata_Producer", "slot 12"},
                                                    {"MediaFile_Metedata_Screenwriter", "slot 13"},
                                                    {"MediaFile_Metedata_Tagline", "slot 14"},
                                                    {"MediaFile_Metedata_Description", "slot 15"},
                                                    {"MediaFile_Metedata_Comment", "slot 16"},
                                                    {"MediaFile_Metedata_Tvnetwork", "slot 17"},
                                                    {"MediaFile_Metedata_Maker", "slot 18"},
                                                    {"MediaFile_Metedata_Model", "slot 19"},
                                                    {"MediaFile_Metedata_GPSLatitudeRef", "slot 22"},
                                                    {"MediaFile_Metedata_GPSLongitudeRef", "slot 23"}};
  Import();
  for (const auto& [key, text] : expected) {
    EXPECT_EQ(Get(key).type(), ValType::kBuffer) << key;
    EXPECT_STREQ(Get(key).AsBuffer(), text) << key;
  }
}

TEST_F(MediaFileImportTest, StoresEveryNumberUnderItsKey) {
  Import();
  EXPECT_EQ(Get("MediaFile_Metedata_GPSLatitude").type(), ValType::kDouble);
  EXPECT_EQ(Get("MediaFile_Metedata_GPSLatitude").AsDouble(), 20.5);
  EXPECT_EQ(Get("MediaFile_Metedata_GPSLongitude").type(), ValType::kDouble);
  EXPECT_EQ(Get("MediaFile_Metedata_GPSLongitude").AsDouble(), 21.5);
  const std::map<const char*, std::int32_t> integers{{"MediaFile_Metedata_VideoKind", -24},
                                                     {"MediaFile_Metedata_ContentRating", -28},
                                                     {"MediaFile_Metedata_Definition", -29},
                                                     {"MediaFile_Metedata_ALPHA_MODE", -31}};
  for (const auto& [key, number] : integers) {
    EXPECT_EQ(Get(key).type(), ValType::kInt32) << key;
    EXPECT_EQ(Get(key).AsInt32(), number) << key;
  }
}

TEST_F(MediaFileImportTest, GoesThroughTheTagsInOrder) {
  Import();
  std::vector<std::string> expected;
  for (const char* name : {"Artist",       "Title",          "TrackNumber",     "Album",
                           "Date",         "Genre",          "Publisher",       "Show",
                           "ReleaseDate",  "Actor",          "Director",        "Producer",
                           "Screenwriter", "Tagline",        "Description",     "Comment",
                           "Tvnetwork",    "Maker",          "Model",           "GPSLatitude",
                           "GPSLongitude", "GPSLatitudeRef", "GPSLongitudeRef", "VideoKind",
                           "ImageData",    "ContentRating",  "Definition",      "AIGCMeta",
                           "ALPHA_MODE"}) {
    expected.push_back("MediaFile_Metedata_" + std::string(name));
  }
  EXPECT_EQ(store_.keys, expected);
}

// The address sanitizer tells when the buffer is shorter.
TEST_F(MediaFileImportTest, PadsATextWithTenZeros) {
  Import();
  const char* title = Get("MediaFile_Metedata_Title").AsBuffer();
  EXPECT_EQ(std::string(title, 16), std::string("slot 2") + std::string(10, '\0'));
  const char* none = Get("MediaFile_Metedata_ReleaseDate").AsBuffer();
  EXPECT_EQ(std::string(none, 10), std::string(10, '\0'));
}

TEST_F(MediaFileImportTest, CopiesTheTexts) {
  char actor[] = "B";
  source_.actor = actor;
  Import();
  actor[0] = 'x';
  EXPECT_STREQ(Get("MediaFile_Metedata_Actor").AsBuffer(), "B");
  EXPECT_STREQ(Get("MediaFile_Metedata_Artist").AsBuffer(), "B");
}

TEST_F(MediaFileImportTest, StoresTheImageDataItself) {
  source_.image_data = std::malloc(1);
  Import();
  EXPECT_EQ(Get("MediaFile_Metedata_ImageData").AsBuffer<void>(), source_.image_data);
}

TEST_F(MediaFileImportTest, StoresMissingImageDataAsANullBuffer) {
  Import();
  EXPECT_EQ(Get("MediaFile_Metedata_ImageData").type(), ValType::kBuffer);
  EXPECT_EQ(Get("MediaFile_Metedata_ImageData").AsBuffer(), nullptr);
}

TEST_F(MediaFileImportTest, BoxesACopyOfTheAigcRecord) {
  source_.aigc_meta.text = strdup("{}");
  source_.aigc_meta.length = 2;
  Import();
  source_.aigc_meta.text[0] = 'x';
  const ValAny value = Get("MediaFile_Metedata_AIGCMeta");
  EXPECT_EQ(value.type(), ValType::kBoxed);
  const auto* record = value.AsBoxed<metedata_keys::AIGC_META>();
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->text, "{}");
  EXPECT_EQ(record->length, 2u);
}

TEST_F(MediaFileImportTest, BoxesAnEmptyAigcRecord) {
  source_.aigc_meta.text = strdup("text without a length");
  Import();
  const ValAny value = Get("MediaFile_Metedata_AIGCMeta");
  const auto* record = value.AsBoxed<metedata_keys::AIGC_META>();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->text, nullptr);
  EXPECT_EQ(record->length, 0u);
}

TEST_F(MediaFileImportTest, LeavesTheRecordOfAnEarlierImportWhenThereIsNone) {
  source_.has_aigc_meta = false;
  Import();
  ValAny value;
  EXPECT_FALSE(store_.GetValue("MediaFile_Metedata_AIGCMeta", &value));

  source_.has_aigc_meta = true;
  source_.aigc_meta.text = strdup("old");
  source_.aigc_meta.length = 3;
  Import();
  source_.has_aigc_meta = false;
  Import();
  value = Get("MediaFile_Metedata_AIGCMeta");
  EXPECT_STREQ(value.AsBoxed<metedata_keys::AIGC_META>()->text, "old");
}

TEST_F(MediaFileImportTest, ReplacesTheValuesOfAnEarlierImport) {
  Import();
  source_.actor = "later";
  Import();
  EXPECT_STREQ(Get("MediaFile_Metedata_Actor").AsBuffer(), "later");
}

}  // namespace
}  // namespace service::mediainfo
