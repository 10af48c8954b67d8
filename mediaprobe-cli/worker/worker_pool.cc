#include "worker/worker_pool.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace mediaprobe {
namespace {

using Clock = Worker::Clock;

constexpr std::size_t kAhead = 2;  // an input with a worker while it works on another, so that it need not wait for us
constexpr std::uint64_t kWindow = 256;  // inputs between the one that the output waits for and the newest
constexpr std::size_t kMostHeldBytes = std::size_t{64} << 20;
constexpr auto kTick = std::chrono::milliseconds(200);

std::string Seconds(std::chrono::milliseconds time) {
  std::string text = std::to_string(time.count() / 1000);
  if (const auto rest = time.count() % 1000; rest != 0) {
    std::string decimals = std::to_string(1000 + rest).substr(1);
    text += "." + decimals.substr(0, decimals.find_last_not_of('0') + 1);
  }
  return text + " s";
}

}  // namespace

WorkerPool::WorkerPool(const Settings& settings, RunCallbacks callbacks)
    : settings_(settings), callbacks_(std::move(callbacks)), workers_(std::max(settings.jobs, 1U)) {}

bool WorkerPool::Run(InputSource& source) {
  last_look_ = Clock::now();
  while (true) {
    if (callbacks_.stop()) return false;
    FillWorkers(source);
    if (!HandOut()) return false;
    if (IsIdle()) {
      if (source_state_ == InputSource::State::kEnd) return true;
      if (source_state_ == InputSource::State::kInput) continue;
    }
    WaitForNews(source);
    ReadWorkers();
    TellProgress();
  }
}

bool WorkerPool::HasRoom() const { return next_number_ - next_out_ < kWindow && held_bytes_ < kMostHeldBytes; }

bool WorkerPool::IsIdle() const {
  return orphans_.empty() && finished_.empty() &&
         std::ranges::all_of(workers_, [](const auto& worker) { return !worker || worker->pending() == 0; });
}

std::optional<Worker::Request> WorkerPool::NextRequest(InputSource& source) {
  if (!orphans_.empty()) {
    Worker::Request request = std::move(orphans_.front());
    orphans_.pop_front();
    return request;
  }
  while (source_state_ != InputSource::State::kEnd && HasRoom()) {
    Input input;
    source_state_ = source.Next(&input);
    if (source_state_ != InputSource::State::kInput) break;
    Worker::Request request{next_number_++, std::move(input)};
    if (request.input.name.size() <= frame::kMostInputBytes) return request;
    Fail(request, "the name is too long");
  }
  return std::nullopt;
}

void WorkerPool::FillWorkers(InputSource& source) {
  // Each worker gets its first input before any gets its second.
  const std::size_t most_shares = settings_.uses_workers_once ? 1 : kAhead;
  for (std::size_t share = 1; share <= most_shares; ++share) {
    for (auto& worker : workers_) {
      if (worker && worker->pending() >= share) continue;
      const bool is_busy = worker && worker->pending() > 0;
      if (is_busy && NextNeedsFreshWorker()) continue;
      const auto request = NextRequest(source);
      if (!request) return;
      if (settings_.uses_workers_once || retried_.contains(request->number)) worker.reset();
      if (!worker) worker = StartWorker();
      if (worker) {
        worker->Ask(*request, callbacks_.time_limit(request->input));
      } else {
        Fail(*request, std::string("no process can be started: ") + std::strerror(errno));
      }
    }
  }
}

bool WorkerPool::NextNeedsFreshWorker() const {
  return !orphans_.empty() && retried_.contains(orphans_.front().number);
}

std::unique_ptr<Worker> WorkerPool::StartWorker() const {
  std::vector<int> others;
  for (const auto& other : workers_) {
    if (other) others.push_back(other->descriptor());
  }
  return Worker::Start(callbacks_.answer, settings_.memory_bytes, others);
}

void WorkerPool::WaitForNews(const InputSource& source) {
  std::vector<pollfd> watched;
  Clock::time_point wake = Clock::now() + kTick;
  for (const auto& worker : workers_) {
    if (!worker) continue;
    watched.push_back({worker->descriptor(), POLLIN, 0});
    if (const auto deadline = worker->Deadline()) wake = std::min(wake, *deadline);
  }
  if (source_state_ == InputSource::State::kWait && HasRoom()) watched.push_back({source.descriptor(), POLLIN, 0});

  const auto left = std::max(wake - Clock::now(), Clock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  const timespec timeout{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
  ppoll(watched.data(), watched.size(), &timeout, &callbacks_.wait_mask);
}

void WorkerPool::ReadWorkers() {
  const auto now = Clock::now();
  ExcuseOwnDelay(now);
  for (auto& worker : workers_) {
    if (!worker) continue;
    const bool lives = worker->Receive([this](Worker::Reply reply) { Keep(reply.number, std::move(reply.answer)); });
    const auto deadline = worker->Deadline();
    const bool was_late = lives && deadline && *deadline <= now;
    if (!lives || was_late) Bury(std::move(worker), was_late);
  }
}

void WorkerPool::ExcuseOwnDelay(Clock::time_point now) {
  const auto delay = now - last_look_ - kTick;
  last_look_ = now;
  if (delay <= Clock::duration::zero()) return;
  for (const auto& worker : workers_) {
    if (worker) worker->Excuse(delay);
  }
}

void WorkerPool::Bury(std::unique_ptr<Worker> worker, bool was_late) {
  const std::string end = worker->End();
  std::deque<Worker::Request> lost = worker->TakeRequests();
  if (lost.empty()) return;
  Worker::Request current = std::move(lost.front());
  lost.pop_front();
  if (was_late) {
    Fail(current, "takes longer than " + Seconds(callbacks_.time_limit(current.input)));
  } else if (retried_.insert(current.number).second) {
    lost.push_front(std::move(current));
  } else {
    Fail(current, "the probe broke down twice: " + end);
  }
  orphans_.insert(orphans_.end(), std::make_move_iterator(lost.begin()), std::make_move_iterator(lost.end()));
}

void WorkerPool::Fail(const Worker::Request& request, const std::string& reason) {
  Keep(request.number, callbacks_.fail(request.input, reason));
}

void WorkerPool::Keep(std::uint64_t number, Answer answer) {
  held_bytes_ += answer.text.size();
  retried_.erase(number);
  finished_.emplace(number, std::move(answer));
}

bool WorkerPool::HandOut() {
  for (auto next = finished_.find(next_out_); next != finished_.end(); next = finished_.find(next_out_)) {
    const bool goes_on = callbacks_.take(next->second);
    held_bytes_ -= next->second.text.size();
    finished_.erase(next);
    ++next_out_;
    if (!goes_on) return false;
  }
  return true;
}

void WorkerPool::TellProgress() {
  RunCallbacks::Progress progress{.answered = next_out_, .current = {}, .digest = {}};
  for (const auto& worker : workers_) {
    const Worker::Request* request = worker ? worker->current() : nullptr;
    if (!request || request->number != next_out_) continue;
    progress.current = request->input.name;
    progress.digest = worker->digest();
  }
  callbacks_.wait(progress);
}

}  // namespace mediaprobe
