#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>

#include "fakes/media_file_service.h"

namespace {

using core::ValAny;
using service::mediainfo::IMediaFileInfo;
using service::mediainfo::IMetedataInfo;

class SessionMetadataTest : public fakes::MediaFileServiceFixture {
 protected:
  SessionMetadataTest() { media_info_.Offer(metadata_); }
  ~SessionMetadataTest() override { EXPECT_EQ(metadata_.references(), 0); }

  static std::string Text(IMetedataInfo& store, const char* key) {
    ValAny value;
    EXPECT_TRUE(store.GetValue(key, &value)) << key;
    return value.AsBuffer();
  }

  fakes::Metadata metadata_;
};

TEST_F(SessionMetadataTest, ImportsTheFilesTags) {
  metadata_.texts["Artist"] = u"A";
  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_ACTOR"] = u"B";
  const std::shared_ptr<IMetedataInfo> store = OpenSession().GetMetadata();
  ASSERT_NE(store, nullptr);
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Artist"), "B");
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Actor"), "B");
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Show"), "");
  EXPECT_EQ(metadata_.references(), 1);
}

TEST_F(SessionMetadataTest, ImportsAnewIntoTheSameStore) {
  IMediaFileInfo& session = OpenSession();
  const std::shared_ptr<IMetedataInfo> store = session.GetMetadata();
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Title"), "");
  metadata_.texts["Title"] = u"late";
  EXPECT_EQ(session.GetMetadata(), store);
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Title"), "late");
  EXPECT_EQ(metadata_.references(), 1);
}

TEST_F(SessionMetadataTest, AsksTheFileOnceForATextThatCame) {
  IMediaFileInfo& session = OpenSession();
  metadata_.texts["Title"] = u"first";
  session.GetMetadata();
  metadata_.texts["Title"] = u"second";
  EXPECT_EQ(Text(*session.GetMetadata(), "MediaFile_Metedata_Title"), "first");
}

TEST_F(SessionMetadataTest, LeavesTheStoreToItsOtherOwners) {
  metadata_.texts["Title"] = u"T";
  const std::shared_ptr<IMetedataInfo> store = OpenSession().GetMetadata();
  DestroySession();
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Title"), "T");
  EXPECT_EQ(store.use_count(), 1);
}

// What a replaced text leaves behind lives as long as the store: asking again and again must not pile it up.
TEST_F(SessionMetadataTest, LeavesATextAloneThatIsTheSameAgain) {
  metadata_.texts["Title"] = u"T";
  metadata_.texts["Album"] = u"A";
  IMediaFileInfo& session = OpenSession();
  const std::shared_ptr<IMetedataInfo> store = session.GetMetadata();
  ValAny title;
  ASSERT_TRUE(store->GetValue("MediaFile_Metedata_Title", &title));
  const ValAny other = ValAny::FromBuffer(strdup("AB"));
  ASSERT_TRUE(store->SetValue("MediaFile_Metedata_Album", &other));
  session.GetMetadata();
  ValAny title_again;
  ASSERT_TRUE(store->GetValue("MediaFile_Metedata_Title", &title_again));
  EXPECT_EQ(title_again.AsBuffer(), title.AsBuffer());
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Album"), "A");
}

TEST_F(SessionMetadataTest, TriesAgainForAMetadataObjectThatDidNotCome) {
  media_info_.Withdraw();
  IMediaFileInfo& session = OpenSession();
  const std::shared_ptr<IMetedataInfo> store = session.GetMetadata();
  ASSERT_NE(store, nullptr);
  ValAny value;
  EXPECT_FALSE(store->GetValue("MediaFile_Metedata_Title", &value));
  media_info_.AnswerQueriesWithNull();
  EXPECT_EQ(session.GetMetadata(), store);
  EXPECT_FALSE(store->GetValue("MediaFile_Metedata_Title", &value));

  metadata_.texts["Title"] = u"T";
  media_info_.Offer(metadata_);
  EXPECT_EQ(session.GetMetadata(), store);
  EXPECT_EQ(Text(*store, "MediaFile_Metedata_Title"), "T");
}

TEST_F(SessionMetadataTest, HandsOutAnEmptyStoreBeforeItIsOpened) {
  const std::shared_ptr<IMetedataInfo> store = CreateSession().GetMetadata();
  ASSERT_NE(store, nullptr);
  ValAny value;
  EXPECT_FALSE(store->GetValue("MediaFile_Metedata_Title", &value));
}

TEST_F(SessionMetadataTest, ThrowsBadAccessForADateThatIsNoText) {
  const std::shared_ptr<IMetedataInfo> store = OpenSession().GetMetadata();
  const ValAny number = ValAny::FromInt64(1);
  ASSERT_TRUE(store->SetValue("MediaFile_Metedata_Date", &number));
  ValAny value;
  EXPECT_THROW(store->GetValue("MediaFile_Metedata_CreateDate", &value), core::AnyBadAccess);
  EXPECT_EQ(std::uncaught_exceptions(), 0) << "the host's own count";
}

TEST_F(SessionMetadataTest, FindsTheTypeOfAStream) {
  metadata_.keyed_texts[u"KEY_QK_METADATAINFO_ACTOR"] = u"StreamNums:2 StreamID_Type:1-0,2-1";
  IMediaFileInfo& session = OpenSession();
  std::int32_t type = 77;
  EXPECT_EQ(session.GetStreamType(2, &type), 0u);
  EXPECT_EQ(type, 1);
  type = 77;
  EXPECT_EQ(session.GetStreamType(3, &type), 0u);
  EXPECT_EQ(type, 77);
  EXPECT_EQ(metadata_.references(), 1);
}

TEST_F(SessionMetadataTest, FindsNoTypeWithoutATextOrAMetadataObject) {
  IMediaFileInfo& session = CreateSession();
  std::int32_t type = 77;
  EXPECT_EQ(session.GetStreamType(0, &type), 0u);
  EXPECT_EQ(SetURL(session, file_), 0u);
  media_info_.Withdraw();
  EXPECT_EQ(session.GetStreamType(0, &type), 0u);
  media_info_.AnswerQueriesWithNull();
  EXPECT_EQ(session.GetStreamType(0, &type), 0u);
  media_info_.Offer(metadata_);
  EXPECT_EQ(session.GetStreamType(0, &type), 0u);
  EXPECT_EQ(type, 77);
}

TEST_F(SessionMetadataTest, SharesTheMetadataObjectBetweenTagsAndStreamTypes) {
  IMediaFileInfo& session = OpenSession();
  std::int32_t type = 77;
  session.GetStreamType(0, &type);
  session.GetMetadata();
  EXPECT_EQ(metadata_.references(), 1);
}

class SessionDatesTest : public fakes::MediaFileServiceFixture {
 protected:
  void SetUp() override {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    MediaFileServiceFixture::SetUp();
  }
};

// 2023-05-17 10:20:30 and 2024-01-02 03:04:05 at an hour east of Greenwich.
TEST_F(SessionDatesTest, ReadsTheFilesDatesAsLocalTime) {
  media_info_.date_text = u"2023:5:17:10:20:30,2024:1:2:3:4:5";
  std::int64_t creation = 0;
  std::int64_t modification = 0;
  EXPECT_TRUE(OpenSession().GetDates(&creation, &modification));
  EXPECT_EQ(creation, 1684315230);
  EXPECT_EQ(modification, 1704161045);
}

TEST_F(SessionDatesTest, HasNoneWithoutAText) {
  std::int64_t creation = 7;
  std::int64_t modification = 8;
  IMediaFileInfo& session = CreateSession();
  EXPECT_FALSE(session.GetDates(&creation, &modification));
  EXPECT_EQ(SetURL(session, file_), 0u);
  EXPECT_FALSE(session.GetDates(&creation, &modification));
  EXPECT_EQ(creation, 7);
  EXPECT_EQ(modification, 8);
}

TEST_F(SessionDatesTest, AnswersWhateverTheTextHolds) {
  media_info_.date_text = u"2023-05-17 10:20:30";
  std::int64_t creation = 0;
  std::int64_t modification = 0;
  EXPECT_TRUE(OpenSession().GetDates(&creation, &modification));
}

TEST_F(SessionDatesTest, DoesNotTakeOneDateForBoth) {
  media_info_.date_text = u"2023:5:17:10:20:30";
  std::int64_t creation = 0;
  std::int64_t modification = 0;
  EXPECT_TRUE(OpenSession().GetDates(&creation, &modification));
  EXPECT_EQ(creation, 1684315230);
  EXPECT_NE(modification, 1684315230);
}

class SessionKeyTest : public fakes::MediaFileServiceFixture {
 protected:
  void LoadLogLibrary() {
    InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
    fakes::Config config;
    config.values = {{"SetAppPath", app().path().string()}};
    descriptor(0).init(&config);
  }
};

TEST_F(SessionKeyTest, HandsAKeyToTheMediaServerAndToTheLog) {
  LoadLogLibrary();
  CreateSession().SetEncryptKey("00ff\xC3\xBC");
  EXPECT_EQ(server_.options, (std::vector<std::pair<std::string, std::string>>{{"EncryptKey", "00ff\xC3\xBC"}}));
  EXPECT_EQ(fakes::host().protected_texts, std::vector<std::u16string>{u"00ff\u00FC"});
}

TEST_F(SessionKeyTest, HandsAKeyToTheMediaServerAlone) {
  CreateSession().SetEncryptKey("key");
  EXPECT_EQ(server_.options.size(), 1u);
  EXPECT_TRUE(fakes::host().protected_texts.empty());
}

TEST_F(SessionKeyTest, HandsAKeyToTheLogAlone) {
  LoadLogLibrary();
  service_ = descriptor(0).create();
  CreateSession().SetEncryptKey("key");
  EXPECT_TRUE(server_.options.empty());
  EXPECT_EQ(fakes::host().protected_texts.size(), 1u);
}

TEST_F(SessionKeyTest, SendsEveryKeyOfAnOpenedSession) {
  IMediaFileInfo& session = OpenSession();
  session.SetEncryptKey("first");
  session.SetEncryptKey("second");
  EXPECT_EQ(server_.options,
            (std::vector<std::pair<std::string, std::string>>{{"EncryptKey", "first"}, {"EncryptKey", "second"}}));
}

}  // namespace
