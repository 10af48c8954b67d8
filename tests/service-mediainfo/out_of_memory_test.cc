#include <array>

#include "core/log.h"
#include "fakes/failing_allocations.h"
#include "fakes/media_file_service.h"

namespace {

using fakes::allocations_left;
using service::ISession;
using service::mediainfo::IMediaFileInfo;

class OutOfMemoryTest : public fakes::MediaFileServiceFixture {
 protected:
  /// `operation` answers `failure` until it has enough memory, each time leaving `references` to the media info.
  template <typename Operation>
  void ExpectFailureUntilSuccess(Operation operation, std::uint32_t failure, int references) {
    std::uint32_t result = 0;
    const auto succeeds = [&] { return (result = operation()) == 0; };
    const int failures = fakes::CountFailures(succeeds, [&] {
      fakes::TakeLog();
      EXPECT_EQ(result, failure);
      EXPECT_EQ(media_info_.references(), references);
      EXPECT_EQ(picture_.references(), references);
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(result, 0u);
  }

  fakes::AllocationsSucceedAgain succeed_again_;
  fakes::PropertyReader reader_;
};

TEST_F(OutOfMemoryTest, CreatesNoService) {
  allocations_left = 0;
  EXPECT_EQ(descriptor(0).create(), nullptr);
}

TEST_F(OutOfMemoryTest, CreatesNoSvgServiceAndNoSvgSession) {
  allocations_left = 0;
  EXPECT_EQ(descriptor(2).create(), nullptr);
  allocations_left = -1;
  service::IService* svg_service = descriptor(2).create();
  allocations_left = 0;
  EXPECT_EQ(svg_service->CreateSession(), nullptr);
  EXPECT_EQ(svg_service->CreateSharedSession(0), nullptr);
  allocations_left = -1;
  descriptor(2).release(svg_service);
}

TEST_F(OutOfMemoryTest, CreatesNoSession) {
  CreateService();
  allocations_left = 0;
  EXPECT_EQ(service_->CreateSession(), nullptr);
  EXPECT_EQ(service_->CreateSharedSession(0), nullptr);
  allocations_left = 1;
  EXPECT_EQ(service_->CreateSharedSession(0), nullptr);
  allocations_left = 0;
  fakes::allocation_fails_once = true;
  EXPECT_EQ(service_->CreateSharedSession(0).use_count(), 0);
}

TEST_F(OutOfMemoryTest, HandsOutNoMetadataWithoutAStore) {
  IMediaFileInfo& session = OpenSession();
  allocations_left = 0;
  EXPECT_EQ(session.GetMetadata(), nullptr);
  allocations_left = -1;
  EXPECT_NE(session.GetMetadata(), nullptr);
}

TEST_F(OutOfMemoryTest, FindsNoStreamType) {
  IMediaFileInfo& session = OpenSession();
  std::int32_t type = 77;
  allocations_left = 0;
  EXPECT_EQ(session.GetStreamType(0, &type), 0u);
  allocations_left = -1;
  EXPECT_EQ(type, 77);
}

TEST_F(OutOfMemoryTest, LogsNothingMoreWhereAKeyCouldNotBeProtected) {
  fakes::Config config;
  config.values = {{"SetAppPath", app().path().string()}};
  InstallSupportLibrary(FAKE_QK_LOG, "QK_log.dll");
  descriptor(0).init(&config);
  service_ = descriptor(0).create();  // without a media server, which would have to remember the key, too
  IMediaFileInfo& session = CreateSession();
  const std::string key(100, 'k');
  const auto protects = [&] {
    session.SetEncryptKey(key.c_str());
    return !fakes::host().protected_texts.empty();
  };
  EXPECT_GT(fakes::CountFailures(protects, [] { EXPECT_EQ(fakes::TakeLogLevel(), kCoreLogOff); }), 0);
  EXPECT_EQ(fakes::TakeLogLevel(), std::nullopt);
}

// A failing open never leaves a reference behind, and the session can be opened afterwards.
TEST_F(OutOfMemoryTest, FailsToOpenAFile) {
  picture_.Offer(reader_);
  IMediaFileInfo& session = CreateSession();
  ExpectFailureUntilSuccess(
      [&] {
        std::array<char, 256> url{};
        file_.copy(url.data(), url.size() - 1);
        return session.SetURL(url.data());
      },
      1, /*references=*/0);
  EXPECT_EQ(session.GetProgramCount(), 1u);
}

TEST_F(OutOfMemoryTest, FailsToClone) {
  IMediaFileInfo& session = OpenSession();
  IMediaFileInfo* clone = nullptr;
  ExpectFailureUntilSuccess([&] { return session.Clone(&clone); }, 4, /*references=*/1);
  service_->DestroySession(dynamic_cast<ISession*>(clone));
}

}  // namespace
