#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

#include "check.h"
#include "runner.h"
#include "shared_note.h"

namespace module_check {

/// One check in a process of its own. Goes with all that it started when the object goes.
class ChildProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Throws std::system_error when there is no process to be had.
  ChildProcess(const Check& check, const Target& target);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  const Check& check() const { return check_; }
  Clock::time_point started() const { return started_; }
  /// Readable once the process has ended.
  int descriptor() const { return descriptor_; }

  /// Of a process that has ended.
  Result Judge();
  /// Ends one that takes too long.
  Result Abandon(std::chrono::milliseconds timeout);

 private:
  void Kill();
  std::string Place() const;
  std::string LastWords() const;

  const Check& check_;
  SharedNote* note_;
  int output_;  ///< what it writes to standard output and standard error
  pid_t pid_ = -1;
  int descriptor_ = -1;
  bool was_reaped_ = false;
  Clock::time_point started_;
};

}  // namespace module_check
