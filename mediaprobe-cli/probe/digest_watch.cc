#include "probe/digest_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <system_error>
#include <utility>

namespace mediaprobe {
namespace {

int OpenCounters() { return open("/proc/self/io", O_RDONLY | O_CLOEXEC); }

int kept_counters = -1;

/// Bytes that this process has read so far, from the system's own count.
std::optional<std::uint64_t> BytesRead() {
  const int counters = kept_counters >= 0 ? kept_counters : OpenCounters();
  char text[64];
  const ssize_t length = pread(counters, text, sizeof text - 1, 0);
  if (counters >= 0 && counters != kept_counters) close(counters);
  if (length <= 0) return std::nullopt;
  text[length] = '\0';
  std::uint64_t value = 0;
  return std::sscanf(text, "rchar: %" SCNu64, &value) == 1 ? std::optional(value) : std::nullopt;
}

}  // namespace

DigestWatch::DigestWatch(std::uint64_t total, ReportDigest report, std::chrono::milliseconds step)
    : total_(total), report_(std::move(report)) {
  report_(0, total_);
  const auto start = BytesRead();
  if (!start) return;
  try {
    watcher_ = std::thread(&DigestWatch::Watch, this, *start, step);
  } catch (const std::system_error&) {
    // There are as many threads as the user may have: the digest does without being told of.
  }
}

int DigestWatch::KeepCounters() { return kept_counters = OpenCounters(); }

DigestWatch::~DigestWatch() {
  if (!watcher_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  ended_changed_.notify_one();
  watcher_.join();
}

void DigestWatch::Watch(std::uint64_t start, std::chrono::milliseconds step) {
  std::unique_lock lock(mutex_);
  while (!ended_changed_.wait_for(lock, step, [this] { return ended_; })) {
    const std::uint64_t done = BytesRead().value_or(start) - start;
    // What is read besides the content must not make more of it than there is.
    report_(total_ == 0 ? done : std::min(done, total_), total_);
  }
}

}  // namespace mediaprobe
