#include "service-mediainfo/metadata/media_file_import.h"

#include <gmock/gmock.h>

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
using testing::ElementsAre;

/// Answers each operation with its own name, or with null.
class Source : public IMetaDataInfo {
 public:
  const char* GetArtist() override { return Ask(1, "slot 1"); }
  const char* GetTitle() override { return Ask(2, "slot 2"); }
  const char* GetTrackNumber() override { return Ask(3, "slot 3"); }
  const char* GetAlbum() override { return Ask(4, "slot 4"); }
  const char* GetDate() override { return Ask(5, "slot 5"); }
  const char* GetGenre() override { return Ask(6, "slot 6"); }
  const char* GetPublisher() override { return Ask(7, "slot 7"); }
  const char* GetShow() override { return Ask(8, "slot 8"); }
  const char* GetReleaseDate() override { return Ask<const char*>(9, nullptr); }
  const char* GetActor() override { return Ask(10, actor); }
  const char* GetDirector() override { return Ask(11, "slot 11"); }
  const char* GetProducer() override { return Ask(12, "slot 12"); }
  const char* GetScreenwriter() override { return Ask(13, "slot 13"); }
  const char* GetTagline() override { return Ask(14, "slot 14"); }
  const char* GetDescription() override { return Ask(15, "slot 15"); }
  const char* GetComment() override { return Ask(16, "slot 16"); }
  const char* GetTvnetwork() override { return Ask(17, "slot 17"); }
  const char* GetMaker() override { return Ask(18, "slot 18"); }
  const char* GetModel() override { return Ask(19, "slot 19"); }
  double GetGpsLatitude() override { return Ask(20, 20.5); }
  double GetGpsLongitude() override { return Ask(21, 21.5); }
  const char* GetGpsLatitudeRef() override { return Ask(22, "slot 22"); }
  const char* GetGpsLongitudeRef() override { return Ask(23, "slot 23"); }
  std::int32_t GetVideoKind() override { return Ask(24, -24); }
  std::int32_t Reserved25() override { return Unread(); }
  std::int32_t Reserved26() override { return Unread(); }
  void* GetImageData() override { return Ask(27, image_data); }
  std::int32_t GetContentRating() override { return Ask(28, -28); }
  std::int32_t GetDefinition() override { return Ask(29, -29); }
  const metedata_keys::AIGC_META* GetAigcMeta() override { return Ask(30, has_aigc_meta ? &aigc_meta : nullptr); }
  std::int32_t GetAlphaMode() override { return Ask(31, -31); }

  static std::int32_t Unread() {
    ADD_FAILURE() << "an operation that feeds no key was read";
    return 0;
  }

  const char* actor = "slot 10";
  void* image_data = nullptr;
  bool has_aigc_meta = true;
  metedata_keys::AIGC_META aigc_meta;
  std::vector<int> asked;  ///< slots, in the order in which they were

 private:
  template <typename Answer>
  Answer Ask(int slot, Answer answer) {
    asked.push_back(slot);
    return answer;
  }
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
  MetadataInfoMPL store_;
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

// The artist is read where the actor is.
TEST_F(MediaFileImportTest, ReadsTheTagsInOrder) {
  Import();
  EXPECT_THAT(source_.asked, ElementsAre(10, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22,
                                         23, 24, 27, 28, 29, 30, 31));
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
