#pragma once

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace mediaprobe {

/// While it lives, an interrupt (SIGINT) does not end the process but calls `action`, at once and on a thread of its
/// own, whatever the other threads are busy with. Nothing changes where interrupts are ignored, as in a background job.
/// Threads that are started before it would still be ended by the signal.
class InterruptWatch {
 public:
  explicit InterruptWatch(std::function<void()> action);
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  sigset_t before_{};  ///< signals that were blocked
  std::atomic<bool> ending_ = false;
  std::thread watcher_;  ///< last: it uses what is above
};

}  // namespace mediaprobe
