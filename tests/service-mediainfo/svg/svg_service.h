#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "fakes/module.h"
#include "fakes/svg_decoder.h"
#include "mediainfo/isvg_info.h"

/// The module's SVG service, with a scripted decoder behind a scripted service manager.
class SvgServiceFixture : public fakes::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    decoder_service_ = std::make_shared<fakes::DecoderService>();
    decoder_service_->make_session = [this] { return std::make_shared<fakes::DecoderSession>(script_); };
    manager_.known = decoder_service_;
    fakes::manager_entry() = {&manager_, {}};
    file_ = app().MakeFile("drawing.svg");
    service_ = descriptor(2).create();
    ASSERT_NE(service_, nullptr);
  }
  void TearDown() override {
    if (session_ != nullptr) {
      EXPECT_EQ(service_->DestroySession(session_), 1u);
    }
    descriptor(2).release(service_);
    EXPECT_EQ(script_.live_sessions, 0);
    fakes::manager_entry() = {};
    ModuleFixture::TearDown();
  }

  /// The fixture gives the session back.
  service::mediainfo::ISvgInfo& CreateSession() {
    session_ = service_->CreateSession();
    return *dynamic_cast<service::mediainfo::ISvgInfo*>(session_);
  }
  /// `url` as the session left it goes to `url_after_`.
  bool SetPath(service::mediainfo::ISvgInfo& session, std::string url) {
    const bool taken = session.SetPath(url.data());
    url_after_ = url;
    return taken;
  }

  fakes::DecoderScript script_;
  std::shared_ptr<fakes::DecoderService> decoder_service_;
  fakes::ServiceManager manager_;
  std::string file_;
  std::string url_after_;
  service::IService* service_ = nullptr;
  service::ISession* session_ = nullptr;
};
