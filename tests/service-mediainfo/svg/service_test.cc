#include "svg/svg_service.h"

namespace {

using service::ISession;

/// A session of another service.
class ForeignSession : public ISession {};

using SvgServiceTest = SvgServiceFixture;

TEST_F(SvgServiceTest, AnswersTheFixedQueries) {
  EXPECT_EQ(service_->FirstStateQuery(), 0u);
  EXPECT_TRUE(service_->SecondStateQuery());
  EXPECT_FALSE(service_->FinalQuery());
}

TEST_F(SvgServiceTest, ClearsTheResultOfTheKeyedQuery) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedQuery(1, 2, &result), 0u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedQuery(1, 2, nullptr), 0u);
}

TEST_F(SvgServiceTest, TakesTheKeyedRequest) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, &result), 0u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, nullptr), 0u);
}

TEST_F(SvgServiceTest, AsksNobodyBeforeASessionIsWanted) {
  EXPECT_TRUE(fakes::manager_entry().reserved_words.empty());
  EXPECT_TRUE(manager_.requests.empty());
}

TEST_F(SvgServiceTest, AcquiresADecoderSessionForEachSession) {
  CreateSession();
  EXPECT_EQ(fakes::manager_entry().reserved_words, std::vector<std::uintptr_t>{0});
  EXPECT_EQ(manager_.requests, (std::vector<fakes::ServiceManager::Request>{
                                   {"44B23A7F-C05F-4279-8396-F2DE559C2DCA", /*create=*/true, /*reserved=*/0}}));
  EXPECT_EQ(decoder_service_->reserved_words, std::vector<std::uintptr_t>{0});
  EXPECT_EQ(script_.live_sessions, 1);

  ISession* second = service_->CreateSession();
  EXPECT_EQ(script_.live_sessions, 2);
  EXPECT_EQ(service_->DestroySession(second), 1u);
  EXPECT_EQ(script_.live_sessions, 1);
}

TEST_F(SvgServiceTest, KeepsTheDecoderSessionAndNotTheDecoderService) {
  std::shared_ptr<ISession> decoder;
  decoder_service_->make_session = [&] { return decoder = std::make_shared<fakes::DecoderSession>(script_); };
  CreateSession();
  EXPECT_EQ(decoder.use_count(), 2);           // the test and the session
  EXPECT_EQ(decoder_service_.use_count(), 2);  // the test and the manager
}

TEST_F(SvgServiceTest, CreatesASessionWithoutAManager) {
  fakes::manager_entry().manager = nullptr;
  CreateSession();
  ASSERT_NE(session_, nullptr);
  EXPECT_TRUE(manager_.requests.empty());
}

TEST_F(SvgServiceTest, CreatesASessionWithoutADecoderService) {
  manager_.known = nullptr;
  CreateSession();
  ASSERT_NE(session_, nullptr);
  EXPECT_EQ(manager_.requests.size(), 1u);
}

TEST_F(SvgServiceTest, CreatesASessionThoughTheDecoderServiceGivesNone) {
  decoder_service_->make_session = nullptr;
  CreateSession();
  ASSERT_NE(session_, nullptr);
  EXPECT_EQ(decoder_service_->reserved_words.size(), 1u);
}

TEST_F(SvgServiceTest, LetsADecoderSessionGoThatIsNone) {
  decoder_service_->make_session = [this] { return std::make_shared<fakes::OtherSession>(script_); };
  CreateSession();
  ASSERT_NE(session_, nullptr);
  EXPECT_EQ(decoder_service_->reserved_words.size(), 1u);
  EXPECT_EQ(script_.live_sessions, 0);
}

TEST_F(SvgServiceTest, AnswersOneForASessionThatItDestroyed) {
  ISession* session = service_->CreateSession();
  EXPECT_EQ(service_->DestroySession(session), 1u);
  EXPECT_EQ(script_.live_sessions, 0);
}

TEST_F(SvgServiceTest, AnswersZeroForNullAndForSessionsOfOthers) {
  ForeignSession session;
  EXPECT_EQ(service_->DestroySession(&session), 0u);
  EXPECT_EQ(service_->DestroySession(nullptr), 0u);
}

TEST_F(SvgServiceTest, GivesASharedSessionBackByItself) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  ASSERT_NE(session, nullptr);
  EXPECT_NE(dynamic_cast<service::mediainfo::ISvgInfo*>(session.get()), nullptr);
  EXPECT_EQ(session.use_count(), 1);
  EXPECT_EQ(script_.live_sessions, 1);
  session.reset();
  EXPECT_EQ(script_.live_sessions, 0);
}

TEST_F(SvgServiceTest, DestroysASharedSessionThatIsReleasedByItsLastOwner) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0xFFFFFFFFu);
  EXPECT_EQ(script_.live_sessions, 0);
}

TEST_F(SvgServiceTest, KeepsASharedSessionThatOthersHold) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  std::shared_ptr<ISession> other = session;
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0xFFFFFFFFu);
  EXPECT_EQ(other.use_count(), 1);
  EXPECT_EQ(script_.live_sessions, 1);
}

TEST_F(SvgServiceTest, ReleasesAnEmptySharedSession) { EXPECT_EQ(service_->ReleaseSharedSession({}), 0xFFFFFFFFu); }

}  // namespace
