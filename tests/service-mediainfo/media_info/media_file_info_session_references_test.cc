#include "fakes/fixture.h"
#include "fakes/media.h"
#include "service-mediainfo/media_info/media_file_info_service.h"
#include "service-mediainfo/media_info/media_file_info_session.h"

namespace service::mediainfo::media_info::impl {
namespace {

/// Hosts that know the class count its references themselves.
class SessionReferencesTest : public fakes::Fixture {
 protected:
  SessionReferencesTest() {
    program_.video = &video_list_;
    media_info_.programs = &programs_;
    server_.media_info = &media_info_;
  }

  /// An opened session without references. That it lives shows in the one that it holds to the media info.
  MediaFileInfoSession* OpenedSession() {
    auto* session = new MediaFileInfoSession(&server_);
    char url[] = "http://host/clip.mp4";
    EXPECT_EQ(session->SetURL(url), 0u);
    return session;
  }

  fakes::PictureStream picture_{640, 480, 100};
  fakes::List<media_server::IStream> video_list_{&picture_};
  fakes::Program program_;
  fakes::List<media_server::IProgram> programs_{&program_};
  fakes::MediaInfo media_info_;
  fakes::MediaServer server_;
  MediaFileInfoService service_;
};

TEST_F(SessionReferencesTest, CountsBetweenItsTwoInterfaces) {
  MediaFileInfoSession session(nullptr);
  const auto* whole = reinterpret_cast<const char*>(&session);
  const auto* counted = reinterpret_cast<const char*>(static_cast<core::RefCnt<MediaFileInfoSession>*>(&session));
  const auto* query = reinterpret_cast<const char*>(static_cast<IMediaFileInfo*>(&session));
  EXPECT_EQ(reinterpret_cast<const char*>(static_cast<ISession*>(&session)), whole);
  EXPECT_LT(whole, counted);
  EXPECT_LT(counted, query);
}

TEST_F(SessionReferencesTest, ComesFromTheServiceWithOne) {
  auto* session = dynamic_cast<MediaFileInfoSession*>(service_.CreateSession());
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->AddRef(), 2u);
  EXPECT_EQ(session->Release(), 1u);
  EXPECT_EQ(session->Release(), 0u);
}

TEST_F(SessionReferencesTest, ComesFromASharedPointerWithOne) {
  const std::shared_ptr<ISession> shared = service_.CreateSharedSession(0);
  auto* session = dynamic_cast<MediaFileInfoSession*>(shared.get());
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->AddRef(), 2u);
  EXPECT_EQ(session->Release(), 1u);
}

TEST_F(SessionReferencesTest, GivesUpOneToTheService) {
  MediaFileInfoSession* session = OpenedSession();
  session->AddRef();
  session->AddRef();
  EXPECT_EQ(service_.DestroySession(session), 0u);
  EXPECT_EQ(media_info_.references(), 1);
  EXPECT_EQ(session->AddRef(), 2u);
  session->Release();
  EXPECT_EQ(service_.DestroySession(session), 0u);
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(SessionReferencesTest, OutlivesTheSharedPointerWhileSomebodyElseHasOne) {
  std::shared_ptr<ISession> shared = service_.CreateSharedSession(0);
  auto* session = dynamic_cast<MediaFileInfoSession*>(shared.get());
  ASSERT_NE(session, nullptr);
  session->AddRef();
  shared.reset();
  EXPECT_EQ(session->Release(), 0u);
}

TEST_F(SessionReferencesTest, LeavesWithItsLast) {
  MediaFileInfoSession* session = OpenedSession();
  session->AddRef();
  EXPECT_EQ(session->Release(), 0u);
  EXPECT_EQ(media_info_.references(), 0);
}

TEST_F(SessionReferencesTest, HasOneAsAClone) {
  MediaFileInfoSession* session = OpenedSession();
  session->AddRef();
  IMediaFileInfo* clone = nullptr;
  ASSERT_EQ(session->Clone(&clone), 0u);
  session->Release();
  auto* cloned_session = static_cast<MediaFileInfoSession*>(clone);
  EXPECT_EQ(cloned_session->AddRef(), 2u);
  EXPECT_EQ(cloned_session->Release(), 1u);
  EXPECT_EQ(cloned_session->Release(), 0u);
}

TEST_F(SessionReferencesTest, GivesTheFileBackBeforeItsPrograms) {
  MediaFileInfoSession* session = OpenedSession();
  session->AddRef();
  std::vector<std::string> calls;
  media_info_.TraceIn(calls, "file");
  program_.TraceIn(calls, "program");
  session->Release();
  EXPECT_EQ(calls, (std::vector<std::string>{"file -", "program -"}));
}

TEST_F(SessionReferencesTest, TakesNoneToTheMediaServer) {
  MediaFileInfoSession* session = OpenedSession();
  EXPECT_EQ(server_.references(), 0);
  session->AddRef();
  session->Release();
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
