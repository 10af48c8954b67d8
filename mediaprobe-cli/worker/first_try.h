#pragma once

#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdint>

namespace mediaprobe {

/// One probe in this process, under the limits that a worker has. Where it crashes, takes longer than a blink or asks
/// for too much memory, the program starts over, and probes in a worker: nothing must have been written before. A small
/// file is answered a third sooner than by a worker, which has to be forked and confined.
///
/// One at a time in a process. While it lasts, fatal signals and SIGALRM are its own.
class FirstTry {
 public:
  /// `command_line` is what to start over with, as main gets it; it has to outlive this. `time_limit`: of a worker, if
  /// that is shorter than a blink.
  FirstTry(char* const* command_line, std::uint64_t memory_bytes, std::chrono::milliseconds time_limit);
  /// The probe is done: its answer counts, and what comes after has no limits.
  ~FirstTry();
  FirstTry(const FirstTry&) = delete;
  FirstTry& operator=(const FirstTry&) = delete;

  [[noreturn]] static void StartOver();

 private:
  rlimit former_memory_{};
  sigset_t former_mask_{};
};

}  // namespace mediaprobe
