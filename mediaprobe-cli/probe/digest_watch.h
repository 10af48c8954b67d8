#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "report_digest.h"

namespace mediaprobe {

/// Tells how far the digest of a content is, at once and then every fifth of a second until it is destroyed, from a
/// thread of its own. A service tells nothing while it digests, so what is counted is what the process has read;
/// nothing else may read meanwhile. Where the system does not count or has no thread to give, it tells the start only.
class DigestWatch {
 public:
  static constexpr std::chrono::milliseconds kStep{200};

  /// `report` must not be empty.
  DigestWatch(std::uint64_t total, ReportDigest report, std::chrono::milliseconds step = kStep);
  ~DigestWatch();
  DigestWatch(const DigestWatch&) = delete;
  DigestWatch& operator=(const DigestWatch&) = delete;

  /// For a process that will not be allowed to open the system's count: keeps it open from now on. The descriptor,
  /// negative where the system does not count.
  static int KeepCounters();

 private:
  void Watch(std::uint64_t start, std::chrono::milliseconds step);

  std::uint64_t total_;
  ReportDigest report_;
  std::mutex mutex_;
  std::condition_variable ended_changed_;
  bool ended_ = false;
  std::thread watcher_;  ///< last: it uses everything above
};

}  // namespace mediaprobe
