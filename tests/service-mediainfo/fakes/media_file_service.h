#pragma once

#include "fakes/media.h"
#include "fakes/module.h"

namespace fakes {

/// The module's media file service, with a media server that opens one file of one program.
class MediaFileServiceFixture : public ModuleFixture {
 protected:
  MediaFileServiceFixture() {
    program_.video = &video_list_;
    media_info_.programs = &programs_;
    server_.media_info = &media_info_;
  }
  void SetUp() override {
    ModuleFixture::SetUp();
    file_ = app().MakeFile("clip.mp4");
  }
  void TearDown() override {
    if (service_ != nullptr) {
      if (session_ != nullptr) DestroySession();
      descriptor(0).release(service_);
    }
    EXPECT_EQ(server_.references(), 0);
    EXPECT_EQ(media_info_.references(), 0);
    EXPECT_EQ(programs_.references(), 0);
    EXPECT_EQ(program_.references(), 0);
    EXPECT_EQ(picture_.references(), 0);
    ModuleFixture::TearDown();
  }

  service::IService& CreateService() {
    host().server = &server_;
    service_ = descriptor(0).create();
    return *service_;
  }
  /// The fixture gives the session back.
  service::mediainfo::IMediaFileInfo& CreateSession() {
    if (service_ == nullptr) CreateService();
    session_ = service_->CreateSession();
    return *dynamic_cast<service::mediainfo::IMediaFileInfo*>(session_);
  }
  void DestroySession() {
    EXPECT_EQ(service_->DestroySession(session_), 0u);
    session_ = nullptr;
  }
  static std::uint32_t SetURL(service::mediainfo::IMediaFileInfo& session, std::string url) {
    return session.SetURL(url.data());
  }
  service::mediainfo::IMediaFileInfo& OpenSession() {
    service::mediainfo::IMediaFileInfo& session = CreateSession();
    EXPECT_EQ(SetURL(session, file_), 0u);
    return session;
  }

  std::string file_;
  PictureStream picture_{640, 480, 100};
  List<media_server::IStream> video_list_{&picture_};
  Program program_;
  List<media_server::IProgram> programs_{&program_};
  MediaInfo media_info_;
  MediaServer server_;
  service::IService* service_ = nullptr;
  service::ISession* session_ = nullptr;
};

}  // namespace fakes
