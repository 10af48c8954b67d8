#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "worker/answer.h"
#include "worker/frame.h"

namespace mediaprobe {

/// A process that answers inputs, one after another, forked from this one with all that is loaded in it. It ends when
/// its parent does. Inputs are handed over by their numbers, which come back with the answers.
class Worker {
 public:
  using Clock = std::chrono::steady_clock;

  struct Request {
    std::uint64_t number;
    Input input;
  };
  struct Reply {
    std::uint64_t number;
    Answer answer;
  };

  /// Forks. The child may take `memory_bytes` of address space beyond what this process has. `inherited` are
  /// descriptors of the parent that the child has no use for and must not keep open. Null when no process can be made;
  /// errno tells why.
  static std::unique_ptr<Worker> Start(const AnswerInput& answer, std::uint64_t memory_bytes,
                                       std::span<const int> inherited);
  /// Kills the process if it still lives.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  int descriptor() const { return descriptor_; }
  std::size_t pending() const { return requests_.size(); }
  /// The input it works on, or null.
  const Request* current() const { return requests_.empty() ? nullptr : &requests_.front(); }

  /// Hands over an input. At most two are with a worker, the one it works on and the one it goes on with.
  void Ask(Request request, std::chrono::milliseconds time_limit);

  /// Takes what has arrived, without waiting. False when the process has died or talks nonsense.
  bool Receive(const std::function<void(Reply)>& take);
  /// What the digest of the first pending input has done, when the worker is at it.
  const std::optional<DigestProgress>& digest() const { return digest_; }

  /// When the first pending input has taken too long; empty when nothing is pending or only its digest is left.
  std::optional<Clock::time_point> Deadline() const;

  /// Gives the first pending input that much more time.
  void Excuse(Clock::duration delay) { started_ += delay; }

  /// Ends the process and tells in words how it had ended, when it had: "killed by signal 11 (Segmentation fault)".
  std::string End();
  /// The inputs that were not answered, the one it worked on first.
  std::deque<Request> TakeRequests() { return std::move(requests_); }

 private:
  Worker(pid_t process, int descriptor) : process_(process), descriptor_(descriptor) {}

  pid_t process_;
  int descriptor_;
  FrameDecoder decoder_;
  std::deque<Request> requests_;
  std::deque<std::chrono::milliseconds> time_limits_;  // of those
  Clock::time_point started_;                          // of the first pending input
  std::optional<DigestProgress> digest_;
};

}  // namespace mediaprobe
