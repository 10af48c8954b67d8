#include "fakes/media_file_service.h"

namespace {

using service::ISession;
using service::mediainfo::IMediaFileInfo;

/// A session of another service.
class ForeignSession : public ISession {};

class MediaFileInfoServiceTest : public fakes::MediaFileServiceFixture {
 protected:
  void SetUp() override {
    MediaFileServiceFixture::SetUp();
    CreateService();
  }

  /// Opens a file, so that the media info's reference shows that the session lives.
  void Open(ISession* session) {
    EXPECT_EQ(SetURL(*dynamic_cast<IMediaFileInfo*>(session), file_), 0u);
    EXPECT_EQ(media_info_.references(), 1);
  }
};

TEST_F(MediaFileInfoServiceTest, AnswersTheFixedQueries) {
  EXPECT_EQ(service_->FirstStateQuery(), 0u);
  EXPECT_TRUE(service_->SecondStateQuery());
  EXPECT_FALSE(service_->FinalQuery());
}

TEST_F(MediaFileInfoServiceTest, LeavesTheResultOfTheKeyedQuery) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedQuery(1, 2, &result), 0u);
  EXPECT_EQ(result, 77u);
  EXPECT_EQ(service_->KeyedQuery(1, 2, nullptr), 0u);
}

TEST_F(MediaFileInfoServiceTest, DoesNotSupportTheKeyedRequest) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, &result), 1u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, nullptr), 1u);
}

TEST_F(MediaFileInfoServiceTest, DestroysASessionWithItsOneReference) {
  ISession* session = service_->CreateSession();
  ASSERT_NE(session, nullptr);
  Open(session);
  EXPECT_EQ(service_->DestroySession(session), 0u);
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(MediaFileInfoServiceTest, DropsOneReferenceOfASessionThatHasMore) {
  ISession* session = service_->CreateSession();
  Open(session);
  IMediaFileInfo* clone = nullptr;
  ASSERT_EQ(dynamic_cast<IMediaFileInfo*>(session)->Clone(&clone), 0u);
  EXPECT_EQ(media_info_.references(), 2);
  EXPECT_EQ(service_->DestroySession(session), 0u);
  EXPECT_EQ(media_info_.references(), 1);
  EXPECT_EQ(service_->DestroySession(dynamic_cast<ISession*>(clone)), 0u);
}

TEST_F(MediaFileInfoServiceTest, RefusesSessionsOfOthers) {
  ForeignSession session;
  EXPECT_EQ(service_->DestroySession(&session), 1u);
  EXPECT_EQ(service_->DestroySession(nullptr), 1u);
}

TEST_F(MediaFileInfoServiceTest, GivesASharedSessionBackByItself) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session.use_count(), 1);
  Open(session.get());
  session.reset();
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(MediaFileInfoServiceTest, DestroysASharedSessionThatIsReleasedByItsLastOwner) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  Open(session.get());
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0u);
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(MediaFileInfoServiceTest, KeepsASharedSessionThatOthersHold) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  Open(session.get());
  std::shared_ptr<ISession> other = session;
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0u);
  EXPECT_EQ(other.use_count(), 1);
  EXPECT_EQ(media_info_.references(), 1);
}

TEST_F(MediaFileInfoServiceTest, ReleasesAnEmptySharedSession) { EXPECT_EQ(service_->ReleaseSharedSession({}), 0u); }

TEST_F(MediaFileInfoServiceTest, HoldsTheOnlyReferenceToTheMediaServer) {
  ISession* session = service_->CreateSession();
  EXPECT_EQ(server_.references(), 1);
  service_->DestroySession(session);
  EXPECT_EQ(server_.references(), 1);
}

}  // namespace
