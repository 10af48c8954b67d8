#pragma once

#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "fakes/media.h"
#include "fakes/module.h"
#include "mediauuid/imedia_uuid.h"

namespace fakes {

inline constexpr char kDigestText[] = "00112233445566778899aabbccddeeff";
inline constexpr char kDigestUuid[] = "00112233-4455-6677-8899-AABBCCDDEEFF";

/// The module's media UUID service with a file, and a digest that always succeeds and notes the calls.
class MediaUuidServiceFixture : public ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    file_ = app().MakeFile("clip.mp4");
    host().server = &server_;
    Answer(kDigestText);
    service_ = descriptor(3).create();
    ASSERT_NE(service_, nullptr);
    session_ = service_->CreateSession();
    ASSERT_NE(session_, nullptr);
    uuid_ = dynamic_cast<service::mediauuid::IMediaUuid*>(session_);
  }
  void TearDown() override {
    if (session_ != nullptr) {
      EXPECT_EQ(service_->DestroySession(session_), 0u);
    }
    descriptor(3).release(service_);
    EXPECT_EQ(server_.references(), 0);
    ModuleFixture::TearDown();
  }

  /// Every digest gives `text` from now on; null makes it fail.
  void Answer(const char* text) {
    host().digest = [this, text](const std::string& path, char* buffer) {
      Note(path);
      if (text != nullptr) std::strcpy(buffer, text);
      return text != nullptr;
    };
  }
  void Note(const std::string& path) {
    const std::lock_guard lock(mutex_);
    digested_.push_back(path);
  }

  std::string file_;
  MediaServer server_;
  service::IService* service_ = nullptr;
  service::ISession* session_ = nullptr;
  service::mediauuid::IMediaUuid* uuid_ = nullptr;
  std::mutex mutex_;
  /// What GetMD5Uuid was called with, in order.
  std::vector<std::string> digested_;
};

}  // namespace fakes
