#include "core/ref_cnt.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "service/isession.h"

namespace {

/// Counts its deaths; the counting base is not the first one, as in sessions.
class Session final : public service::ISession, public core::RefCnt<Session> {
 public:
  explicit Session(int* deaths) : deaths_(deaths) {}
  ~Session() override { ++*deaths_; }

 private:
  int* deaths_;
};

// The analyser does not follow the count: to it, every release may be the last.
// NOLINTBEGIN(clang-analyzer-cplusplus.NewDelete)

TEST(RefCntTest, StartsAtNothing) {
  int deaths = 0;
  auto* session = new Session(&deaths);
  EXPECT_EQ(session->AddRef(), 1u);
  EXPECT_EQ(session->AddRef(), 2u);
  EXPECT_EQ(session->Release(), 1u);
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(session->Release(), 0u);
  EXPECT_EQ(deaths, 1);
}

TEST(RefCntTest, DestroysTheWholeObjectThroughItsBase) {
  int deaths = 0;
  core::RefCnt<Session>* base = new Session(&deaths);
  base->AddRef();
  base->Release();
  EXPECT_EQ(deaths, 1);
}

TEST(RefCntTest, CountsFromManyThreads) {
  int deaths = 0;
  auto* session = new Session(&deaths);
  session->AddRef();
  {
    const auto take_and_give_back = [session] {
      for (int round = 0; round < 10'000; ++round) {
        session->AddRef();
        session->Release();
      }
    };
    const std::array<std::jthread, 2> threads{std::jthread(take_and_give_back), std::jthread(take_and_give_back)};
  }
  EXPECT_EQ(deaths, 0);
  EXPECT_EQ(session->Release(), 0u);
  EXPECT_EQ(deaths, 1);
}

// NOLINTEND(clang-analyzer-cplusplus.NewDelete)

}  // namespace
