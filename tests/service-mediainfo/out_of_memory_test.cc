#include <array>
#include <cstdlib>
#include <new>

#include "fakes/media_file_service.h"

namespace {

/// While not negative, the allocations of the program and of the module fail after so many that still succeed: all of
/// them, or only the first.
int allocations_left = -1;
bool fails_once = false;

void* Allocate(std::size_t size) {
  if (allocations_left == 0) {
    if (fails_once) allocations_left = -1;
    return nullptr;
  }
  if (allocations_left > 0) --allocations_left;
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

// GCC sees malloc and free behind these operators and takes them for a mismatch.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

// The program's own stand in front of the standard library's, also for the module.
void* operator new(std::size_t size) {
  void* block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

using service::ISession;
using service::mediainfo::IMediaFileInfo;

class OutOfMemoryTest : public fakes::MediaFileServiceFixture {
 protected:
  ~OutOfMemoryTest() override {
    allocations_left = -1;
    fails_once = false;
  }

  /// Runs `operation` with 0, 1, 2, ... allocations until it answers 0; each answer before is `failure` and leaves
  /// `references` to the media info.
  template <typename Operation>
  void ExpectFailureUntilSuccess(Operation operation, std::uint32_t failure, int references) {
    constexpr int kMost = 1000;
    for (int allowed = 0; allowed < kMost; ++allowed) {
      allocations_left = allowed;
      const std::uint32_t result = operation();
      allocations_left = -1;
      fakes::TakeLog();
      if (result == 0) {
        EXPECT_GT(allowed, 0);
        return;
      }
      ASSERT_EQ(result, failure);
      ASSERT_EQ(media_info_.references(), references);
      ASSERT_EQ(picture_.references(), references);
    }
    FAIL() << "never succeeded";
  }

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
  fails_once = true;
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
