#include "interrupt.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>

namespace mediaprobe {
namespace {

/// The status of a process that runs `body`. A signal that ends it counts as its number and 1000.
template <typename Body>
int StatusOf(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

TEST(InterruptWatch, ActionRunsWhateverTheOtherThreadsAreBusyWith) {
  EXPECT_EQ(StatusOf([] {
              const InterruptWatch watch([] { _exit(130); });
              kill(getpid(), SIGINT);
              std::promise<void>().get_future().wait_for(std::chrono::seconds(60));
            }),
            130);
}

TEST(InterruptWatch, ActionDoesNotRunAtTheEnd) {
  EXPECT_EQ(StatusOf([] { const InterruptWatch watch([] { _exit(130); }); }), 0);
}

TEST(InterruptWatch, InterruptsEndTheProcessAgainAfterIt) {
  EXPECT_EQ(StatusOf([] {
              {
                const InterruptWatch watch([] { _exit(130); });
              }
              raise(SIGINT);
            }),
            1000 + SIGINT);
}

TEST(InterruptWatch, IgnoredInterruptsStayIgnored) {
  EXPECT_EQ(StatusOf([] {
              signal(SIGINT, SIG_IGN);
              const InterruptWatch watch([] { _exit(130); });
              kill(getpid(), SIGINT);
              usleep(50'000);
            }),
            0);
}

}  // namespace
}  // namespace mediaprobe
