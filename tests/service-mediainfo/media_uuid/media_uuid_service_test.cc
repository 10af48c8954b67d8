#include "fakes/media_uuid_service.h"

#include <gmock/gmock.h>

#include "core/uuid.h"

namespace {

using fakes::host;
using service::IService;
using service::ISession;
using service::mediauuid::IMediaUuid;
using testing::ElementsAre;
using testing::IsEmpty;

using MediaUuidCreationTest = fakes::ModuleFixture;

TEST_F(MediaUuidCreationTest, MakesAMediaServerFromTheSettings) {
  fakes::MediaServer server;
  host().server = &server;
  fakes::Config config;
  config.values = {
      {"MediaInfoPath", "media"}, {"MediaProxyPath", "proxy"}, {"SetAppResPath", "resources"}, {"SetLogPath", "log"}};
  ASSERT_TRUE(descriptor(0).init(&config));
  IService* created = descriptor(3).create();
  ASSERT_NE(created, nullptr);
  EXPECT_THAT(host().server_settings, ElementsAre(ElementsAre("media", "proxy", "", "resources", "log")));
  EXPECT_EQ(server.references(), 1);
  descriptor(3).release(created);
  EXPECT_EQ(server.references(), 0);
}

TEST_F(MediaUuidCreationTest, DoesWithoutAMediaServer) {
  host().server_status = platform::kFail;
  IService* created = descriptor(3).create();
  ASSERT_NE(created, nullptr);
  descriptor(3).release(created);
}

class MediaUuidServiceTest : public fakes::MediaUuidServiceFixture {
 protected:
  bool GetUuid(const std::string& url) { return uuid_->GetUuid(url.c_str(), &value_); }
  const char* GetText(const std::string& url) { return uuid_->GetUuidText(url.c_str()); }

  core::Uuid value_;
};

TEST_F(MediaUuidServiceTest, AnswersTheFixedQueries) {
  EXPECT_EQ(service_->FirstStateQuery(), 0u);
  EXPECT_TRUE(service_->SecondStateQuery());
  EXPECT_FALSE(service_->FinalQuery());
}

TEST_F(MediaUuidServiceTest, AnswersTheKeyedOperationsWithNothing) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedQuery(1, 2, &result), 0u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedQuery(1, 2, nullptr), 0u);
  result = 77;
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, &result), 1u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, nullptr), 1u);
}

TEST_F(MediaUuidServiceTest, HasNoSharedSessions) {
  EXPECT_EQ(service_->CreateSharedSession(0).use_count(), 0);
  EXPECT_EQ(service_->ReleaseSharedSession({}), 0u);
}

TEST_F(MediaUuidServiceTest, AnswersZeroForASessionThatItDestroyed) {
  class ForeignSession : public ISession {};
  ForeignSession foreign;
  EXPECT_EQ(service_->DestroySession(&foreign), 1u);
  EXPECT_EQ(service_->DestroySession(nullptr), 1u);
  EXPECT_EQ(service_->DestroySession(service_->CreateSession()), 0u);
}

TEST_F(MediaUuidServiceTest, HoldsTheOnlyReferenceToTheMediaServer) { EXPECT_EQ(server_.references(), 1); }

TEST_F(MediaUuidServiceTest, DigestsAFileOnceForItsText) {
  const char* first = GetText(file_);
  EXPECT_STREQ(first, fakes::kDigestText);
  EXPECT_EQ(GetText(file_), first);
  EXPECT_THAT(digested_, ElementsAre(file_));
}

TEST_F(MediaUuidServiceTest, SharesTextsBetweenSessions) {
  const char* first = GetText(file_);
  ISession* other = service_->CreateSession();
  EXPECT_EQ(dynamic_cast<IMediaUuid*>(other)->GetUuidText(file_.c_str()), first);
  service_->DestroySession(other);
  service_->DestroySession(std::exchange(session_, nullptr));
  // The text outlives the session that asked for it.
  EXPECT_STREQ(first, fakes::kDigestText);
  EXPECT_THAT(digested_, ElementsAre(file_));
}

TEST_F(MediaUuidServiceTest, KnowsAFileByItsPath) {
  const std::string other = app().MakeFile("other.mp4");
  GetText("file:/" + file_);
  GetText(file_);
  GetText("file://" + file_);
  GetText(other);
  EXPECT_THAT(digested_, ElementsAre(file_, "/" + file_, other));
}

TEST_F(MediaUuidServiceTest, TriesAgainAfterAFailure) {
  Answer(nullptr);
  EXPECT_EQ(GetText(file_), nullptr);
  EXPECT_EQ(GetText(file_), nullptr);
  Answer(fakes::kDigestText);
  EXPECT_STREQ(GetText(file_), fakes::kDigestText);
  EXPECT_EQ(digested_.size(), 3u);
}

TEST_F(MediaUuidServiceTest, KeepsTheTextOfAFileThatIsGone) {
  const char* first = GetText(file_);
  std::filesystem::remove(file_);
  EXPECT_EQ(GetText(file_), nullptr);
  app().MakeFile("clip.mp4");
  EXPECT_EQ(GetText(file_), first);
}

TEST_F(MediaUuidServiceTest, HasNoTextForWhatIsNoFile) {
  EXPECT_EQ(GetText(app().path().string()), nullptr);
  EXPECT_EQ(GetText("file:/" + app().path().string()), nullptr);
  EXPECT_EQ(GetText(file_ + ".missing"), nullptr);
  EXPECT_EQ(GetText("http:/" + file_), nullptr);
  EXPECT_EQ(GetText("D:/m/a.mp4"), nullptr);
  EXPECT_EQ(GetText(""), nullptr);
  EXPECT_EQ(uuid_->GetUuidText(nullptr), nullptr);
  EXPECT_THAT(digested_, IsEmpty());
}

TEST_F(MediaUuidServiceTest, HandsThePatternOfASequenceOn) {
  const char* text = GetText("files://X:/seq/f_[1-9].png");
  EXPECT_STREQ(text, fakes::kDigestText);
  EXPECT_THAT(digested_, ElementsAre("X:/seq/f_[1-9].png"));
}

TEST_F(MediaUuidServiceTest, DropsEightCharactersWhereverTheSequenceSchemeStands) {
  GetText("http://x/files://y");
  GetText("files://");
  GetText("files:///" + file_);
  EXPECT_THAT(digested_, ElementsAre("/files://y", "", "/" + file_));
}

TEST_F(MediaUuidServiceTest, PrefersAFileToASequence) {
  std::filesystem::create_directories(app().path() / "files:" / "file:");
  const std::string file = app().MakeFile("files:/file:/f_[1-9].png");
  // Both schemes stand in it; the first six characters are dropped.
  const std::string url = "//////" + app().path().string() + "/files://file:/f_[1-9].png";
  GetText(url);
  GetUuid(url);
  EXPECT_THAT(digested_, ElementsAre(file, file));
}

TEST_F(MediaUuidServiceTest, HasNoTextForAFileThatFailsThoughItsUrlHasTheSequenceScheme) {
  std::filesystem::create_directories(app().path() / "files:" / "file:");
  const std::string file = app().MakeFile("files:/file:/clip.mp4");
  Answer(nullptr);
  EXPECT_EQ(GetText("//////" + app().path().string() + "/files://file:/clip.mp4"), nullptr);
  EXPECT_THAT(digested_, ElementsAre(file));
}

TEST_F(MediaUuidServiceTest, KeepsAnEmptyTextOfADigestThatSucceeded) {
  Answer("");
  const char* text = GetText(file_);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(GetText(file_), text);
  EXPECT_THAT(digested_, ElementsAre(file_));
}

TEST_F(MediaUuidServiceTest, DigestsASequenceEachTime) {
  const char* first = GetText("files://f_[1-9].png");
  const char* second = GetText("files://f_[1-9].png");
  EXPECT_EQ(digested_.size(), 2u);
  // Both are the session's own buffer, which another session does not share.
  EXPECT_EQ(first, second);
  ISession* other = service_->CreateSession();
  EXPECT_NE(dynamic_cast<IMediaUuid*>(other)->GetUuidText("files://f_[1-9].png"), first);
  service_->DestroySession(other);
}

TEST_F(MediaUuidServiceTest, GivesEveryDigestAZeroedBuffer) {
  host().digest = [this](const std::string& path, char* buffer) {
    Note(path);
    EXPECT_EQ(std::string(buffer, 64), std::string(64, '\0')) << path;
    std::memset(buffer, 'f', 63);
    return true;
  };
  GetText("files://a");
  GetText("files://a");
  GetText(file_);
  GetUuid("files://a");
  GetUuid(file_);
  EXPECT_EQ(digested_.size(), 5u);
}

TEST_F(MediaUuidServiceTest, HasAnEmptyTextForASequenceThatFails) {
  GetText("files://f_[1-9].png");
  Answer(nullptr);
  const char* text = GetText("files://f_[1-9].png");
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
}

TEST_F(MediaUuidServiceTest, MakesAUuidOfTheDigits) {
  EXPECT_TRUE(GetUuid(file_));
  EXPECT_EQ(value_.ToString(), fakes::kDigestUuid);
  EXPECT_THAT(digested_, ElementsAre(file_));
}

TEST_F(MediaUuidServiceTest, DigestsAFileEachTimeForItsUuid) {
  GetText(file_);
  EXPECT_TRUE(GetUuid(file_));
  EXPECT_TRUE(GetUuid(file_));
  GetText(file_);
  EXPECT_EQ(digested_.size(), 3u);
}

TEST_F(MediaUuidServiceTest, MakesAUuidOfASequence) {
  EXPECT_TRUE(GetUuid("files://X:/seq/f_[1-9].png"));
  EXPECT_EQ(value_.ToString(), fakes::kDigestUuid);
  EXPECT_THAT(digested_, ElementsAre("X:/seq/f_[1-9].png"));
}

TEST_F(MediaUuidServiceTest, LeavesTheTextOfASequenceWhenItMakesAUuid) {
  const char* text = GetText("files://f_[1-9].png");
  Answer("ffffffffffffffffffffffffffffffff");
  EXPECT_TRUE(GetUuid("files://f_[1-9].png"));
  EXPECT_STREQ(text, fakes::kDigestText);
}

TEST_F(MediaUuidServiceTest, LeavesTheUuidWhenThereIsNone) {
  ASSERT_TRUE(GetUuid(file_));
  const core::Uuid before = value_;
  Answer(nullptr);
  EXPECT_FALSE(GetUuid(file_));
  EXPECT_FALSE(GetUuid("files://f_[1-9].png"));
  Answer("");
  EXPECT_FALSE(GetUuid(file_));
  Answer("ffffffffffffffffffffffffffffffff");
  EXPECT_FALSE(GetUuid(app().path().string()));
  EXPECT_FALSE(GetUuid("D:/m/a.mp4"));
  EXPECT_FALSE(uuid_->GetUuid(nullptr, &value_));
  EXPECT_FALSE(uuid_->GetUuid(file_.c_str(), nullptr));
  EXPECT_EQ(value_, before);
}

TEST_F(MediaUuidServiceTest, TakesTheFirstDigitsOfALongText) {
  Answer("00112233445566778899aabbccddeeff0123456789");
  EXPECT_TRUE(GetUuid(file_));
  EXPECT_EQ(value_.ToString(), fakes::kDigestUuid);
}

TEST_F(MediaUuidServiceTest, SucceedsWithATextThatIsNoUuid) {
  for (const char* text : {"x", "00112233", "001122334", "zz112233445566778899aabbccddeeff"}) {
    Answer(text);
    EXPECT_TRUE(GetUuid(file_)) << text;
    EXPECT_EQ(value_, core::Uuid()) << text;
  }
}

}  // namespace
