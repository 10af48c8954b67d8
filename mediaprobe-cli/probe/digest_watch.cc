#include "probe/digest_watch.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <string>
#include <utility>

namespace mediaprobe {
namespace {

/// Bytes that this process has read so far, from the system's own count.
std::optional<std::uint64_t> BytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  if (counters >> name >> value && name == "rchar:") return value;
  return std::nullopt;
}

}  // namespace

DigestWatch::DigestWatch(std::uint64_t total, DigestReport report, std::chrono::milliseconds step)
    : total_(total), report_(std::move(report)) {
  report_(0, total_);
  if (const auto start = BytesRead()) watcher_ = std::thread(&DigestWatch::Watch, this, *start, step);
}

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
