#include "probe/digest_watch.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using std::chrono::milliseconds;

struct Seen {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<std::uint64_t> done;
  std::uint64_t total = 0;

  ReportDigest Report() {
    return [this](std::uint64_t done_now, std::uint64_t total_now) {
      const std::lock_guard lock(mutex);
      done.push_back(done_now);
      total = total_now;
      changed.notify_all();
    };
  }
  bool WaitUntilDone(std::uint64_t bytes) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, milliseconds(10'000), [&] { return !done.empty() && done.back() >= bytes; });
  }
};

void ReadWhole(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(file), {}};
}

TEST(DigestWatch, CountsWhatTheProcessReads) {
  const testing::ScratchFolder folder;
  const std::string path = folder.AddFile("a", std::string(1'000'000, 'x'));
  Seen seen;
  const DigestWatch watch(5'000'000, seen.Report(), milliseconds(1));
  ReadWhole(path);
  EXPECT_TRUE(seen.WaitUntilDone(1'000'000));
  EXPECT_EQ(seen.done.front(), 0u);
  EXPECT_EQ(seen.total, 5'000'000u);
}

TEST(DigestWatch, TellsTheStartWhereNoThreadCanBeMade) {
  // Room for a stack that no address space has.
  constexpr std::size_t kTooMuch = std::size_t{1} << 50;
  pthread_attr_t before;
  pthread_attr_t greedy;
  pthread_getattr_default_np(&before);
  pthread_getattr_default_np(&greedy);
  pthread_attr_setstacksize(&greedy, kTooMuch);
  pthread_setattr_default_np(&greedy);
  Seen seen;
  { const DigestWatch watch(100, seen.Report(), milliseconds(1)); }
  pthread_setattr_default_np(&before);
  EXPECT_EQ(seen.done, std::vector<std::uint64_t>{0});
}

TEST(DigestWatch, NeverTellsMoreThanThereIs) {
  const testing::ScratchFolder folder;
  const std::string path = folder.AddFile("a", std::string(1'000'000, 'x'));
  Seen seen;
  const DigestWatch watch(1'000, seen.Report(), milliseconds(1));
  ReadWhole(path);
  EXPECT_TRUE(seen.WaitUntilDone(1'000));
  const std::lock_guard lock(seen.mutex);
  for (const std::uint64_t done : seen.done) EXPECT_LE(done, 1'000u);
}

TEST(DigestWatch, UnknownTotalBoundsNothing) {
  const testing::ScratchFolder folder;
  const std::string path = folder.AddFile("a", std::string(1'000'000, 'x'));
  Seen seen;
  const DigestWatch watch(0, seen.Report(), milliseconds(1));
  ReadWhole(path);
  EXPECT_TRUE(seen.WaitUntilDone(1'000'000));
}

TEST(DigestWatch, EndsAtOnceAndTellsNothingMore) {
  Seen seen;
  // One that waits for its next look does not end before the test's time is up.
  { const DigestWatch watch(7, seen.Report(), std::chrono::hours(1)); }
  EXPECT_EQ(seen.done, std::vector<std::uint64_t>{0});
}

}  // namespace
}  // namespace mediaprobe
