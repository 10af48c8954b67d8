#include "service-mediainfo/metadata/meta_data_info_impl.h"

#include "fakes/fixture.h"
#include "fakes/media.h"

namespace service::mediainfo::media_info::impl {
namespace {

class MetaDataInfoImplTest : public fakes::Fixture {
 protected:
  void SetUp() override {
    Fixture::SetUp();
    ASSERT_EQ(info_.Init(&metadata_), 0u);
  }

  fakes::Metadata metadata_;
  MetaDataInfoImpl info_;
};

TEST_F(MetaDataInfoImplTest, RefusesANullObject) {
  MetaDataInfoImpl info;
  EXPECT_EQ(info.Init(nullptr), 7u);
}

TEST_F(MetaDataInfoImplTest, HoldsOneReferenceUntilItDies) {
  EXPECT_EQ(metadata_.references(), 1);
  info_ = MetaDataInfoImpl();
  EXPECT_EQ(metadata_.references(), 0);
}

struct TextSlot {
  const char* operation;
  const char* (IMetaDataInfo::*read)();
};

constexpr std::array<TextSlot, 9> kTextSlots{{
    {"Artist", &IMetaDataInfo::GetArtist},
    {"Title", &IMetaDataInfo::GetTitle},
    {"TrackNumber", &IMetaDataInfo::GetTrackNumber},
    {"Album", &IMetaDataInfo::GetAlbum},
    {"Date", &IMetaDataInfo::GetDate},
    {"Genre", &IMetaDataInfo::GetGenre},
    {"Publisher", &IMetaDataInfo::GetPublisher},
    {"Maker", &IMetaDataInfo::GetMaker},
    {"Model", &IMetaDataInfo::GetModel},
}};

TEST_F(MetaDataInfoImplTest, AnswersEachTextFromItsOwnOperationAndKeepsIt) {
  for (const TextSlot& slot : kTextSlots) {
    metadata_.texts[slot.operation] = u"the " + std::u16string(slot.operation, slot.operation + 3);
  }
  for (int round = 0; round < 2; ++round) {
    for (const TextSlot& slot : kTextSlots) {
      EXPECT_EQ((info_.*slot.read)(), "the " + std::string(slot.operation, 3)) << slot.operation;
    }
    metadata_.texts.clear();
  }
  EXPECT_EQ(metadata_.text_questions, 9);
}

TEST_F(MetaDataInfoImplTest, AsksAgainForATextThatDidNotCome) {
  for (const TextSlot& slot : kTextSlots) {
    EXPECT_STREQ((info_.*slot.read)(), "");
    metadata_.texts[slot.operation] = u"";
    EXPECT_STREQ((info_.*slot.read)(), "");
    metadata_.texts[slot.operation] = u"late";
    EXPECT_STREQ((info_.*slot.read)(), "late");
  }
}

struct KeyedSlot {
  const char16_t* key;
  const char* (IMetaDataInfo::*read)();
};

constexpr std::array<KeyedSlot, 3> kKeyedSlots{{
    {u"KEY_QK_METADATAINFO_ACTOR", &IMetaDataInfo::GetActor},
    {u"KEY_QK_METADATAINFO_GPSLATITUDEREF", &IMetaDataInfo::GetGpsLatitudeRef},
    {u"KEY_QK_METADATAINFO_GPSLONGITUDEREF", &IMetaDataInfo::GetGpsLongitudeRef},
}};

TEST_F(MetaDataInfoImplTest, AnswersKeyedTextsAndKeepsThem) {
  for (const KeyedSlot& slot : kKeyedSlots) {
    EXPECT_STREQ((info_.*slot.read)(), "");
    metadata_.keyed_texts = {{slot.key, u"answer"}};
    EXPECT_STREQ((info_.*slot.read)(), "answer");
    metadata_.keyed_texts.clear();
    EXPECT_STREQ((info_.*slot.read)(), "answer");
  }
}

TEST_F(MetaDataInfoImplTest, AnswersNullWhereNothingIsTold) {
  for (const auto read : {&IMetaDataInfo::GetShow, &IMetaDataInfo::GetReleaseDate, &IMetaDataInfo::GetDirector,
                          &IMetaDataInfo::GetProducer, &IMetaDataInfo::GetScreenwriter, &IMetaDataInfo::GetTagline,
                          &IMetaDataInfo::GetDescription, &IMetaDataInfo::GetComment, &IMetaDataInfo::GetTvnetwork}) {
    EXPECT_EQ((info_.*read)(), nullptr);
  }
  EXPECT_EQ(info_.GetImageData(), nullptr);
}

TEST_F(MetaDataInfoImplTest, ForwardsThePlace) {
  metadata_.gps_latitude = 52.5;
  metadata_.gps_longitude = 13.4;
  EXPECT_EQ(info_.GetGpsLatitude(), 52.5);
  EXPECT_EQ(info_.GetGpsLongitude(), 13.4);
}

TEST_F(MetaDataInfoImplTest, AnswersTheDefaultsOfTheFileRecord) {
  EXPECT_EQ(info_.GetVideoKind(), 1);
  EXPECT_EQ(info_.Reserved25(), 0);
  EXPECT_EQ(info_.Reserved26(), 0);
  EXPECT_EQ(info_.GetContentRating(), 0);
  EXPECT_EQ(info_.GetDefinition(), -1);
}

TEST_F(MetaDataInfoImplTest, AnswersTheAlphaMode) {
  EXPECT_EQ(info_.GetAlphaMode(), 0);
  metadata_.integers[u"KEY_QK_XMP_METADATAINFO_ALPHA_MODE"] = 2;
  EXPECT_EQ(info_.GetAlphaMode(), 2);
}

// Only the outputs tell whether there is an answer.
TEST_F(MetaDataInfoImplTest, TakesAnswersWhateverTheStatus) {
  metadata_.status = platform::kFail;
  metadata_.texts["Title"] = u"title";
  metadata_.keyed_texts = {{u"KEY_QK_METADATAINFO_ACTOR", u"actor"}, {u"KEY_QK_METADATAINFO_AIGC", u"{}"}};
  metadata_.integers[u"KEY_QK_XMP_METADATAINFO_ALPHA_MODE"] = 2;
  EXPECT_STREQ(info_.GetTitle(), "title");
  EXPECT_STREQ(info_.GetActor(), "actor");
  EXPECT_STREQ(info_.GetAigcMeta()->text, "{}");
  EXPECT_EQ(info_.GetAlphaMode(), 2);
}

TEST_F(MetaDataInfoImplTest, AnswersTheAigcTextWithItsLength) {
  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_AIGC"] = u"{\"Label\":\"\u00E4\"}";
  const metedata_keys::AIGC_META* record = info_.GetAigcMeta();
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->text, "{\"Label\":\"\xC3\xA4\"}");
  EXPECT_EQ(record->length, 14u);
}

TEST_F(MetaDataInfoImplTest, AsksForTheAigcTextAnewIntoOneRecord) {
  const metedata_keys::AIGC_META* record = info_.GetAigcMeta();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->text, nullptr);
  EXPECT_EQ(record->length, 0u);

  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_AIGC"] = u"first";
  EXPECT_EQ(info_.GetAigcMeta(), record);
  EXPECT_STREQ(record->text, "first");
  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_AIGC"] = u"second";
  EXPECT_EQ(info_.GetAigcMeta(), record);
  EXPECT_STREQ(record->text, "second");
  EXPECT_EQ(record->length, 6u);

  metadata_.keyed_texts.clear();
  EXPECT_EQ(info_.GetAigcMeta(), record);
  EXPECT_EQ(record->text, nullptr);
  EXPECT_EQ(record->length, 0u);
}

TEST_F(MetaDataInfoImplTest, TakesAnEmptyAigcTextAsAText) {
  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_AIGC"] = u"";
  const metedata_keys::AIGC_META* record = info_.GetAigcMeta();
  ASSERT_NE(record, nullptr);
  EXPECT_STREQ(record->text, "");
  EXPECT_EQ(record->length, 0u);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
