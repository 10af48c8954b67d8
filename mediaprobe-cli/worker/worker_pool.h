#pragma once

#include <signal.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "inputs/input_source.h"
#include "worker/answer.h"
#include "worker/worker.h"

namespace mediaprobe {

/// Answers inputs in worker processes, several at once, and gives the answers in the order of the inputs. An input
/// whose worker dies is tried once more in a fresh one; one that takes too long is not. No other input suffers: a new
/// worker goes on with those behind it. However many inputs there are, a bounded number of answers is held.
class WorkerPool {
 public:
  struct Settings {
    unsigned jobs = 1;
    WorkerLimits limits;
  };
  struct Progress {
    std::uint64_t answered = 0;
    std::string current;  ///< the input that the output waits for
    std::optional<DigestProgress> digest;
  };
  struct Callbacks {
    AnswerInput answer;  ///< runs in the workers
    /// Makes the answer for an input that no worker could answer; runs in this process, as the others below.
    std::function<Answer(const Input& input, const std::string& reason)> fail;
    /// Takes the answers, in order. False ends the run.
    std::function<bool(const Answer& answer)> take;
    /// Called several times a second while answers are awaited.
    std::function<void(const Progress& progress)> wait;
    /// Asked before each wait: true ends the run. Signals that change its mind interrupt the wait only where the
    /// caller has blocked them and `wait_mask` lets them through, so that none is missed.
    std::function<bool()> stop;
    sigset_t wait_mask{};
  };

  WorkerPool(const Settings& settings, Callbacks callbacks);

  /// Until the source ends. False when `take` or `stop` ended it early.
  bool Run(InputSource& source);

 private:
  bool HasRoom() const;
  bool IsIdle() const;
  /// The next input for a worker: one that lost its worker, or a new one.
  std::optional<Worker::Request> NextRequest(InputSource& source);
  void FillWorkers(InputSource& source);
  /// Whether the next input has killed a worker: what it left behind in another one would prove nothing.
  bool NextNeedsFreshWorker() const;
  std::unique_ptr<Worker> StartWorker() const;
  void WaitForNews(const InputSource& source);
  void ReadWorkers();
  /// Ends a worker and sees to it that its inputs are answered all the same.
  void Bury(std::unique_ptr<Worker> worker, bool was_late);
  void Fail(const Worker::Request& request, const std::string& reason);
  void Keep(std::uint64_t number, Answer answer);
  bool HandOut();
  void TellProgress();

  Settings settings_;
  Callbacks callbacks_;
  std::vector<std::unique_ptr<Worker>> workers_;
  InputSource::State source_state_ = InputSource::State::kInput;
  std::uint64_t next_number_ = 0;             // of the inputs, in the order of the source
  std::uint64_t next_out_ = 0;                // whose answer is given out next
  std::deque<Worker::Request> orphans_;       // inputs that lost their worker
  std::set<std::uint64_t> retried_;           // of them, those that it died of
  std::map<std::uint64_t, Answer> finished_;  // that wait for one before them
  std::size_t held_bytes_ = 0;                // of those
};

}  // namespace mediaprobe
