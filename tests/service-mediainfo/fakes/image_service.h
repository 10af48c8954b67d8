#pragma once

#include <filesystem>
#include <string>

#include "fakes/media.h"
#include "fakes/module.h"
#include "media_server/image_library.h"
#include "mediainfo/iimage_info.h"

namespace fakes {

/// The module in a folder of the test's own, so that the test says which image library lies beside it.
class LinkedModuleFixture : public ModuleFixture {
 protected:
  std::string ModulePath() override {
    const std::filesystem::path module = MODULE_PATH;
    // With what it is linked to.
    for (const auto& file : std::filesystem::directory_iterator(module.parent_path())) {
      if (file.path().extension() != ".so") continue;
      std::filesystem::create_symlink(file.path(), app().path() / file.path().filename());
    }
    return (app().path() / module.filename()).string();
  }
  std::string ImageLibraryPath() const { return (app().path() / media_server::kImageLibraryName).string(); }
  void InstallImageLibrary(const char* file) const { std::filesystem::copy_file(file, ImageLibraryPath()); }
};

/// The module's image service, and a session of it.
class ImageServiceFixture : public LinkedModuleFixture {
 protected:
  void SetUp() override {
    LinkedModuleFixture::SetUp();
    InstallImageLibrary(FAKE_IMAGE_LIBRARY);
    host().server = &server_;
  }
  void TearDown() override {
    if (session_ != nullptr) {
      EXPECT_EQ(service_->DestroySession(session_), 1u);
    }
    descriptor(1).release(service_);
    EXPECT_EQ(server_.references(), 0);
    LinkedModuleFixture::TearDown();
  }

  service::IService& CreateService() {
    service_ = descriptor(1).create();
    TakeLog();
    return *service_;
  }
  service::mediainfo::IImageInfo& CreateSession() {
    if (service_ == nullptr) CreateService();
    session_ = service_->CreateSession();
    return *dynamic_cast<service::mediainfo::IImageInfo*>(session_);
  }
  /// Every image query fills its record so from now on, and gives `result`.
  template <typename Fill>
  void Answer(Fill fill, std::int64_t result = 1) {
    server_.query_image = [fill, result](imagecore::QkImageInfo& info) {
      fill(info);
      return result;
    };
  }

  MediaServer server_;
  service::IService* service_ = nullptr;
  service::ISession* session_ = nullptr;
};

}  // namespace fakes
