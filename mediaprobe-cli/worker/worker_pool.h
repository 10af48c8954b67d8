#pragma once

#include <csignal>
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
#include "worker/run_callbacks.h"
#include "worker/worker.h"

namespace mediaprobe {

/// Answers inputs in worker processes, several at once, and gives the answers in the order of the inputs. An input
/// whose worker dies is tried once more in a fresh one; one that takes too long is not. No other input suffers: a new
/// worker goes on with those behind it. However many inputs there are, a bounded number of answers is held.
class WorkerPool {
 public:
  struct Settings {
    unsigned jobs = 1;
    std::uint64_t memory_bytes = 0;  ///< most for a worker, beyond what this process takes
    bool wants_digests = false;      ///< with the answers: a worker at one has more time while that goes on
  };
  WorkerPool(const Settings& settings, RunCallbacks callbacks);

  /// Until the source ends. False when `take` or `stop` ended it early. Signals that change the mind of `stop`
  /// interrupt a wait only where the caller has blocked them and `wait_mask` lets them through, so that none is missed.
  bool Run(InputSource& source);

 private:
  /// A worker that is ready for its input and has not been told to begin.
  struct Spare {
    std::unique_ptr<Worker> worker;
    Worker::Request request;
  };

  bool HasRoom() const;
  bool IsIdle() const;
  /// The next input for a worker: one that lost its worker, or a new one.
  std::optional<Worker::Request> NextRequest(InputSource& source);
  void FillWorkers(InputSource& source);
  /// Most inputs for a worker: what is left towards the end is shared out, so that all workers end together.
  std::size_t MostAppetite(const InputSource& source) const;
  std::size_t Appetite(const Worker* worker, std::size_t most_appetite) const;
  /// Sees to it that each worker has `share` inputs, if it wants as many. False when there is no use in asking for
  /// more.
  bool GiveEach(std::size_t share, std::size_t most_appetite, InputSource& source);
  /// Whether it may answer that input as well: one that has killed a worker goes to a fresh one, since what was left
  /// behind in another would prove nothing.
  bool Suits(const Worker& worker, const Worker::Request& request) const;
  /// Ends a worker that is of no use any more, and leaves its place empty.
  void Retire(std::unique_ptr<Worker>& worker);
  /// Where inputs get a process of their own, starts the next one's while those before it work.
  void KeepSpare(InputSource& source);
  std::unique_ptr<Worker> TakeSpare();
  /// Its input gets another worker.
  void DropSpare();
  /// Starts one that is confined to what the first of its inputs takes. Null when no process can be made.
  std::unique_ptr<Worker> StartWorker(const Worker::Request& first);
  std::unique_ptr<Worker> TryToStart(const Worker::Request& first) const;
  bool HasWorkers() const;
  void WaitForNews(const InputSource& source);
  void ReadWorkers();
  /// Gives what waits behind an input that takes long to a worker that has nothing to do.
  void ShareOut(Worker::Clock::time_point now);
  /// Counts no time against the workers in which this process did not listen to them: it may have been stopped, or
  /// have waited for the reader of its output.
  void ExcuseOwnDelay(Worker::Clock::time_point now);
  /// Ends a worker and sees to it that its inputs are answered all the same.
  void Bury(std::unique_ptr<Worker> worker, bool was_late);
  /// Whether the input is to be answered again, by a worker that has what the last one left for.
  bool Grant(int wish, Worker::Request& request);
  void Fail(const Worker::Request& request, const std::string& reason);
  void Keep(std::uint64_t number, Answer answer);
  bool HandOut();
  void TellProgress();

  Settings settings_;
  RunCallbacks callbacks_;
  std::vector<std::unique_ptr<Worker>> workers_;
  std::optional<Spare> spare_;
  std::deque<std::unique_ptr<Worker>> retired_;  // that have been told to end
  bool can_start_ = true;                        // another one, as far as this round knows
  InputSource::State source_state_ = InputSource::State::kInput;
  std::uint64_t next_number_ = 0;             // of the inputs, in the order of the source
  std::uint64_t next_out_ = 0;                // whose answer is given out next
  std::deque<Worker::Request> orphans_;       // inputs that lost their worker or the place they had
  std::set<std::uint64_t> retried_;           // of them, those that it died of
  std::map<std::uint64_t, Answer> finished_;  // that wait for one before them
  std::size_t held_bytes_ = 0;                // of those
  Worker::Clock::time_point last_look_;       // at the workers
};

}  // namespace mediaprobe
