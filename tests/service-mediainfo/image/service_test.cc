#include <dlfcn.h>

#include <cstdio>

#include "fakes/image_service.h"

namespace {

using fakes::host;
using fakes::LogLine;
using fakes::TakeLog;
using service::IService;
using service::ISession;

constexpr char kLoadFormat[] = "Load GetImageSequenceSize[0x%p] GetImageSize[0x%p]";
const LogLine kLoadFailure{"mediainfo", 4, "Load %s failed!", "Load QK_MediaInfoLib.dll failed!"};

/// Creation of the service with whatever image library the test installs.
class ImageServiceCreationTest : public fakes::LinkedModuleFixture {
 protected:
  void SetUp() override {
    LinkedModuleFixture::SetUp();
    host().server = &server_;
  }
  void TearDown() override {
    EXPECT_EQ(server_.references(), 0);
    LinkedModuleFixture::TearDown();
  }

  /// What is logged of the library that is loaded already.
  LogLine LoadLine() const {
    void* library = dlopen(ImageLibraryPath().c_str(), RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(library, nullptr);
    char text[200];
    std::snprintf(text, sizeof(text), kLoadFormat, dlsym(library, "GetImageSequenceSize"),
                  dlsym(library, "GetImageSize"));
    dlclose(library);
    return {"mediainfo", 4, kLoadFormat, text};
  }

  fakes::MediaServer server_;
};

TEST_F(ImageServiceCreationTest, MakesAMediaServerFromTheSettingsAndLoadsTheLibrary) {
  InstallImageLibrary(FAKE_IMAGE_LIBRARY);
  fakes::Config config;
  config.values = {
      {"MediaInfoPath", "media"}, {"MediaProxyPath", "proxy"}, {"SetAppResPath", "resources"}, {"SetLogPath", "log"}};
  ASSERT_TRUE(descriptor(0).init(&config));
  IService* created = descriptor(1).create();
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(host().server_settings,
            (std::vector<std::vector<std::string>>{{"media", "proxy", "", "resources", "log"}}));
  EXPECT_EQ(host().loaded_libraries.size(), 2u);
  EXPECT_EQ(TakeLog(), std::vector{LoadLine()});
  EXPECT_EQ(server_.references(), 1);
  descriptor(1).release(created);
  // The library stays loaded.
  EXPECT_NE(LoadLine().text, "");
}

TEST_F(ImageServiceCreationTest, DoesWithoutTheSequenceFunction) {
  InstallImageLibrary(FAKE_IMAGE_SIZE_LIBRARY);
  IService* created = descriptor(1).create();
  ASSERT_NE(created, nullptr);
  EXPECT_EQ(TakeLog(), std::vector{LoadLine()});
  ISession* session = created->CreateSession();
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(created->DestroySession(session), 1u);
  descriptor(1).release(created);
}

TEST_F(ImageServiceCreationTest, FailsWithoutTheSizeFunction) {
  InstallImageLibrary(FAKE_IMAGE_SEQUENCE_LIBRARY);
  EXPECT_EQ(descriptor(1).create(), nullptr);
  EXPECT_EQ(TakeLog(), (std::vector{LoadLine(), kLoadFailure}));
  EXPECT_EQ(host().server_settings.size(), 1u);
}

TEST_F(ImageServiceCreationTest, FailsWithoutEitherFunction) {
  InstallImageLibrary(FAKE_HOLLOW_LIBRARY);
  EXPECT_EQ(descriptor(1).create(), nullptr);
  EXPECT_EQ(TakeLog(), (std::vector{LoadLine(), kLoadFailure}));
}

TEST_F(ImageServiceCreationTest, FailsWithoutTheLibrary) {
  EXPECT_EQ(descriptor(1).create(), nullptr);
  EXPECT_EQ(TakeLog(), std::vector{kLoadFailure});
  // The media server was made before and is released.
  EXPECT_EQ(host().server_settings.size(), 1u);
}

TEST_F(ImageServiceCreationTest, FailsWithAFileThatIsNoLibrary) {
  std::ofstream(ImageLibraryPath()) << "text";
  EXPECT_EQ(descriptor(1).create(), nullptr);
  EXPECT_EQ(TakeLog(), std::vector{kLoadFailure});
}

TEST_F(ImageServiceCreationTest, DoesWithoutAMediaServer) {
  InstallImageLibrary(FAKE_IMAGE_LIBRARY);
  host().server = nullptr;
  host().server_status = platform::kFail;
  IService* created = descriptor(1).create();
  TakeLog();
  ASSERT_NE(created, nullptr);
  ISession* session = created->CreateSession();
  auto& image = *dynamic_cast<service::mediainfo::IImageInfo*>(session);
  EXPECT_FALSE(image.SetPath("files://a_[1-3].png"));
  EXPECT_EQ(image.GetMetadata(), nullptr);
  EXPECT_EQ(image.GetDuration(), 0u);
  created->DestroySession(session);
  descriptor(1).release(created);
}

TEST_F(ImageServiceCreationTest, KeepsTheMediaServerWhateverTheStatusSays) {
  InstallImageLibrary(FAKE_IMAGE_LIBRARY);
  host().server_status = platform::kFail;
  IService* created = descriptor(1).create();
  TakeLog();
  EXPECT_EQ(server_.references(), 1);
  descriptor(1).release(created);
}

class ImageServiceTest : public fakes::ImageServiceFixture {
 protected:
  void SetUp() override {
    ImageServiceFixture::SetUp();
    CreateService();
  }
};

TEST_F(ImageServiceTest, AnswersTheFixedQueries) {
  EXPECT_EQ(service_->FirstStateQuery(), 0u);
  EXPECT_TRUE(service_->SecondStateQuery());
  EXPECT_FALSE(service_->FinalQuery());
}

TEST_F(ImageServiceTest, AnswersTheKeyedQueryWithNothing) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedQuery(1, 2, &result), 0u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedQuery(1, 2, nullptr), 0u);
}

TEST_F(ImageServiceTest, DoesNotSupportTheKeyedRequest) {
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, &result), 1u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, nullptr), 1u);
}

TEST_F(ImageServiceTest, HasNoSharedSessions) {
  EXPECT_EQ(service_->CreateSharedSession(0).use_count(), 0);
  EXPECT_EQ(service_->ReleaseSharedSession({}), 0u);
}

TEST_F(ImageServiceTest, DropsTheSharedReferenceOfAnyone) {
  int deleted = 0;
  class ForeignSession : public ISession {};
  std::shared_ptr<ISession> session(new ForeignSession, [&](ISession* last) {
    delete last;
    ++deleted;
  });
  std::shared_ptr<ISession> other = session;
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0u);
  EXPECT_EQ(other.use_count(), 1);
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(other)), 0u);
  EXPECT_EQ(deleted, 1);
}

TEST_F(ImageServiceTest, DestroysItsSessionsAlone) {
  class ForeignSession : public ISession {};
  ForeignSession foreign;
  EXPECT_EQ(service_->DestroySession(&foreign), 0u);
  EXPECT_EQ(service_->DestroySession(nullptr), 0u);
  ISession* session = service_->CreateSession();
  EXPECT_EQ(service_->DestroySession(session), 1u);
}

TEST_F(ImageServiceTest, HoldsTheOnlyReferenceToTheMediaServer) {
  ISession* session = service_->CreateSession();
  EXPECT_EQ(server_.references(), 1);
  service_->DestroySession(session);
  EXPECT_EQ(server_.references(), 1);
}

}  // namespace
