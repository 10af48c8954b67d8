#include "worker/provisions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "core/loading.h"
#include "mediainfo/service_ids.h"
#include "worker/wishes.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kGoesOn = 3;

class ProvisionsTest : public ::testing::Test {
 protected:
  /// The status that a worker leaves with that comes to need what has that name.
  int StatusOfNeeding(const char* name) const {
    const pid_t child = fork();
    if (child == 0) {
      provisions_.WatchLoading();
      CoreTellLoading(name);
      _exit(kGoesOn);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::vector<std::string> acquired_;
  Provisions provisions_{"/nowhere/", [this](const char* name) { acquired_.push_back(name); }};
};

TEST_F(ProvisionsTest, WorkerThatLacksSomethingLeavesWithAWishThatIsGrantedOnce) {
  const int status = StatusOfNeeding(service::mediainfo::kSvgInfoServiceName);
  ASSERT_GE(status, kFirstWishStatus + kFirstProvisionWish);
  EXPECT_TRUE(provisions_.Grant(status - kFirstWishStatus));
  EXPECT_THAT(acquired_, ElementsAre(service::mediainfo::kSvgInfoServiceName));
  EXPECT_EQ(StatusOfNeeding(service::mediainfo::kSvgInfoServiceName), kGoesOn);
  EXPECT_TRUE(provisions_.Grant(status - kFirstWishStatus)) << "another worker may not have had it yet";
  EXPECT_THAT(acquired_, ElementsAre(service::mediainfo::kSvgInfoServiceName));
}

TEST_F(ProvisionsTest, WhatIsMissingIsTriedOnceAndLeftToItsUser) {
  const int status = StatusOfNeeding(kDigestLibraryName);
  EXPECT_TRUE(provisions_.Grant(status - kFirstWishStatus)) << "although there is no such folder";
  EXPECT_EQ(StatusOfNeeding(kDigestLibraryName), kGoesOn);
}

TEST_F(ProvisionsTest, EachHasAWishOfItsOwn) {
  const int cyrillic = StatusOfNeeding("ISO-8859-5");
  const int broadcast = StatusOfNeeding("ISO6937");
  EXPECT_NE(cyrillic, broadcast);
  EXPECT_TRUE(provisions_.Grant(cyrillic - kFirstWishStatus));
  EXPECT_EQ(StatusOfNeeding("ISO-8859-5"), kGoesOn);
  EXPECT_EQ(StatusOfNeeding("ISO6937"), broadcast);
}

TEST_F(ProvisionsTest, NamesThatNobodyKnowsAreNoWishes) {
  EXPECT_EQ(StatusOfNeeding("../../tmp/evil.so"), kGoesOn);
  for (const int wish : {-1, kWishForOwnProcess, kMostWishes - 1, kMostWishes}) EXPECT_FALSE(provisions_.Grant(wish));
  EXPECT_THAT(acquired_, IsEmpty());
}

TEST_F(ProvisionsTest, NamesOfInputsPromiseServices) {
  provisions_.Foresee({"a.mp4", "b.JPG", "c.svg"});
  EXPECT_THAT(acquired_,
              ElementsAre(service::mediainfo::kImageInfoServiceName, service::mediainfo::kSvgInfoServiceName));
}

TEST_F(ProvisionsTest, PlainVideosCallForNothing) {
  provisions_.Foresee({"a.mp4", "b.mkv", "svg", "png.webm"});
  EXPECT_THAT(acquired_, IsEmpty());
  EXPECT_NE(StatusOfNeeding("ISO6937"), kGoesOn);
}

}  // namespace
}  // namespace mediaprobe
