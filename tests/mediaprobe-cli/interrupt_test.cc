#include "interrupt.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <cerrno>
#include <csignal>

namespace mediaprobe {
namespace {

TEST(Interrupts, AreRemembered) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    const Interrupts interrupts;
    EXPECT_FALSE(interrupts.happened());
    raise(signal);
    EXPECT_TRUE(interrupts.happened());
  }
}

TEST(Interrupts, SecondOneEndsTheProcess) {
  for (const int second : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    EXPECT_EXIT(
        {
          const Interrupts interrupts;
          raise(SIGINT);
          raise(second);
        },
        ::testing::KilledBySignal(second), "");
  }
}

TEST(Interrupts, EndTheProcessAgainAfterwards) {
  EXPECT_EXIT(
      {
        { const Interrupts interrupts; }
        raise(SIGTERM);
      },
      ::testing::KilledBySignal(SIGTERM), "");
}

TEST(Interrupts, HeldBackOnesComeInAWait) {
  Interrupts interrupts;
  interrupts.HoldBack();
  raise(SIGINT);
  EXPECT_FALSE(interrupts.happened());
  EXPECT_EQ(ppoll(nullptr, 0, nullptr, &interrupts.wait_mask()), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_TRUE(interrupts.happened());
}

TEST(Interrupts, HeldBackOnesComeWhenTheyAreLetThrough) {
  Interrupts interrupts;
  interrupts.HoldBack();
  raise(SIGTERM);
  EXPECT_FALSE(interrupts.happened());
  interrupts.LetThrough();
  EXPECT_TRUE(interrupts.happened());
}

TEST(Interrupts, IgnoredOnesStayIgnored) {
  std::signal(SIGINT, SIG_IGN);
  {
    const Interrupts interrupts;
    raise(SIGINT);
    EXPECT_FALSE(interrupts.happened());
    raise(SIGTERM);
    raise(SIGINT);
    EXPECT_TRUE(interrupts.happened());
  }
  std::signal(SIGINT, SIG_DFL);
}

}  // namespace
}  // namespace mediaprobe
