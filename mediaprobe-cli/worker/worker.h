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
#include "worker/company.h"
#include "worker/frame.h"

namespace mediaprobe {

/// A process that answers inputs, one after another, forked from this one with all that is loaded in it. It ends when
/// its parent does. Inputs are handed over by their numbers, which come back with the answers.
class Worker {
 public:
  using Clock = std::chrono::steady_clock;

  /// How long the parent leaves busy workers alone: waking it for each answer would cost them more than the answers.
  static constexpr Clock::duration kRound = std::chrono::milliseconds(2);

  /// The inputs that a worker has if it can: the one it works on and the one it goes on with.
  static constexpr std::size_t kLeastAppetite = 2;

  struct Request {
    std::uint64_t number;
    Input input;
    std::chrono::milliseconds time_limit;
    Company company = Company::kFiles;
    bool wants_digest = false;  ///< without it, a report of a digest is nonsense
    unsigned wishes = 0;        ///< of workers that it was with
  };
  struct Reply {
    std::uint64_t number;
    Answer answer;
  };

  /// Makes, in the child, what answers the inputs. `descriptor` is the child's end of the stream to its parent.
  using BeginWork = std::function<AnswerInput(int descriptor)>;

  /// Forks. The child may take `memory_bytes` of address space beyond what this process has. `inherited` are
  /// descriptors of the parent that the child has no use for and must not keep open. Null when no process can be made;
  /// errno tells why.
  static std::unique_ptr<Worker> Start(const BeginWork& begin, Company company, std::uint64_t memory_bytes,
                                       std::span<const int> inherited);
  /// Kills the process if it still lives.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  Company company() const { return company_; }
  int descriptor() const { return descriptor_; }
  std::size_t pending() const { return requests_.size(); }
  /// The input it works on, or null.
  const Request* current() const { return requests_.empty() ? nullptr : &requests_.front(); }

  /// Notes an input for the worker, which gets it with the next `SendRequests`.
  void Ask(Request request);
  void SendRequests();

  /// How many inputs it should have at a time: enough to keep it busy for some rounds if they take as long as the last
  /// ones did.
  std::size_t appetite() const;
  /// Whether it has more to do than it can do in a round.
  bool IsBusyForARound() const;

  /// Whether it has been at one input for long while others wait behind that.
  bool IsStuck(Clock::time_point now) const;
  /// Takes back all inputs but the one it works on. It has them, so it is of no use once that is answered: it gets no
  /// more, and what it still says is not heard.
  std::deque<Request> TakeBack();
  /// Whether it gets no more inputs and has answered those that it had.
  bool is_done() const { return requests_.empty() && (is_last_ || company_ == Company::kAlone); }

  /// Takes what has arrived, without waiting. False when the process has died or talks nonsense.
  bool Receive(const std::function<void(Reply)>& take);
  /// What the digest of the first pending input has done, when the worker is at it.
  const std::optional<DigestProgress>& digest() const { return digest_; }

  /// When the first pending input has taken too long, or its digest has stood still for too long; empty when nothing is
  /// pending.
  std::optional<Clock::time_point> Deadline() const;

  /// Gives the first pending input that much more time.
  void Excuse(Clock::duration delay) {
    started_ += delay;
    digest_grew_ += delay;
  }

  /// Ends the process without waiting until it has ended.
  void Kill() const;
  /// Ends the process and tells in words how it had ended, when it had: "killed by signal 11 (Segmentation fault)".
  std::string End();
  /// What it left for, once it has ended: the number of a wish.
  const std::optional<int>& wish() const { return wish_; }
  /// The inputs that were not answered, the one it worked on first.
  std::deque<Request> TakeRequests() { return std::move(requests_); }

 private:
  Worker(pid_t process, int descriptor, Company company)
      : process_(process), descriptor_(descriptor), company_(company) {}

  pid_t process_;
  int descriptor_;
  Company company_;
  std::optional<int> wish_;
  FrameDecoder decoder_;
  std::deque<Request> requests_;
  std::string unsent_;               // the last of them, as messages
  std::size_t requested_bytes_ = 0;  // names of all of them
  Clock::duration pace_ = kRound;    // time that an answer took lately
  Clock::time_point started_;        // of the first pending input
  std::optional<DigestProgress> digest_;
  Clock::time_point digest_grew_;
  bool is_last_ = false;  // of its inputs, the one it works on
};

}  // namespace mediaprobe
