#include "core/error_text.h"
#include "fakes/failing_allocations.h"
#include "fakes/media_uuid_service.h"

namespace {

using fakes::allocations_left;

class MediaUuidOutOfMemoryTest : public fakes::MediaUuidServiceFixture {
 protected:
  fakes::AllocationsSucceedAgain succeed_again_;
};

TEST_F(MediaUuidOutOfMemoryTest, CreatesNoServiceAndNoSession) {
  allocations_left = 0;
  EXPECT_EQ(descriptor(3).create(), nullptr);
  EXPECT_EQ(service_->CreateSession(), nullptr);
}

TEST_F(MediaUuidOutOfMemoryTest, HasNoTextAndIsAskedAgain) {
  const char* text = nullptr;
  const auto succeeds = [&] { return (text = uuid_->GetUuidText(file_.c_str())) != nullptr; };
  const int failures = fakes::CountFailures(succeeds, [] { EXPECT_STREQ(CoreErrorText(), "out of memory"); });
  // The path, its text, the digest's and both halves of the cache.
  EXPECT_GT(failures, 3);
  EXPECT_STREQ(text, fakes::kDigestText);
  EXPECT_EQ(uuid_->GetUuidText(file_.c_str()), text);
}

TEST_F(MediaUuidOutOfMemoryTest, MakesNoUuid) {
  core::Uuid value;
  const auto succeeds = [&] { return uuid_->GetUuid(file_.c_str(), &value); };
  const int failures = fakes::CountFailures(succeeds, [&] { EXPECT_EQ(value, core::Uuid()); });
  EXPECT_GT(failures, 3);
  EXPECT_EQ(value.ToString(), fakes::kDigestUuid);
}

}  // namespace
