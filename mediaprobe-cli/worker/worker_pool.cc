#include "worker/worker_pool.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <utility>

#include "worker/wishes.h"

namespace mediaprobe {
namespace {

using Clock = Worker::Clock;

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
    KeepSpare(source);
    WaitForNews(source);
    ReadWorkers();
    TellProgress();
  }
}

bool WorkerPool::HasRoom() const { return next_number_ - next_out_ < kWindow && held_bytes_ < kMostHeldBytes; }

bool WorkerPool::IsIdle() const {
  return orphans_.empty() && finished_.empty() && !spare_ &&
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
    const auto time_limit = callbacks_.time_limit(input);
    const Company company = callbacks_.company ? callbacks_.company(input) : Company::kFiles;
    Worker::Request request{next_number_++, std::move(input), time_limit, company, settings_.wants_digests};
    if (request.input.failure.empty() && request.input.name.size() > frame::kMostInputBytes) {
      request.input.failure = "the name is too long";
    }
    if (request.input.failure.empty()) return request;
    Fail(request, request.input.failure);
  }
  return std::nullopt;
}

void WorkerPool::FillWorkers(InputSource& source) {
  can_start_ = true;
  // Each worker gets its first input before any gets its second.
  const std::size_t most_appetite = MostAppetite(source);
  for (std::size_t share = 1; GiveEach(share, most_appetite, source); ++share) {
  }
  for (const auto& worker : workers_) {
    if (worker) worker->SendRequests();
  }
}

std::size_t WorkerPool::MostAppetite(const InputSource& source) const {
  const std::uint64_t total = source.total().value_or(std::numeric_limits<std::uint64_t>::max());
  const std::uint64_t left = total - std::min(next_number_, total);
  return std::max<std::uint64_t>(left / workers_.size() / 2, Worker::kLeastAppetite);
}

std::size_t WorkerPool::Appetite(const Worker* worker, std::size_t most_appetite) const {
  if (worker && worker->company() == Company::kAlone) return 1;
  // With others behind it, what the worker died of the second time might be one of them.
  if (worker && worker->current() && retried_.contains(worker->current()->number)) return 1;
  if (!worker) return Worker::kLeastAppetite;
  return std::min(worker->appetite(), most_appetite);
}

bool WorkerPool::GiveEach(std::size_t share, std::size_t most_appetite, InputSource& source) {
  bool wants_more = false;
  for (auto& worker : workers_) {
    const std::size_t appetite = Appetite(worker.get(), most_appetite);
    wants_more = wants_more || share < appetite;
    if (share > appetite || (worker && worker->pending() >= share)) continue;
    if (!worker && spare_) {
      worker = TakeSpare();
      continue;
    }
    if (!worker && !can_start_) continue;
    auto request = NextRequest(source);
    if (!request) return false;
    if (worker && !Suits(*worker, *request)) {
      if (worker->pending() > 0) {
        orphans_.push_front(std::move(*request));
        continue;
      }
      Retire(worker);
    }
    if (!worker) worker = StartWorker(*request);
    if (worker) {
      worker->Ask(std::move(*request));
    } else if (const int error = errno; !HasWorkers()) {
      Fail(*request, std::string("no process can be started: ") + std::strerror(error));
    } else {
      // Those that there are answer it, or make room when they end.
      can_start_ = false;
      orphans_.push_front(std::move(*request));
    }
  }
  return wants_more;
}

bool WorkerPool::Suits(const Worker& worker, const Worker::Request& request) const {
  return request.company != Company::kAlone && request.company == worker.company() &&
         !retried_.contains(request.number);
}

void WorkerPool::Retire(std::unique_ptr<Worker>& worker) {
  // Taking a process apart keeps the kernel busy for a while, in which others can work.
  worker->Kill();
  retired_.push_back(std::move(worker));
  if (retired_.size() > workers_.size()) retired_.pop_front();
}

void WorkerPool::KeepSpare(InputSource& source) {
  const bool one_is_alone =
      std::ranges::any_of(workers_, [](const auto& worker) { return worker && worker->company() == Company::kAlone; });
  // What lost its worker gets one that is confined just before it is asked: its file may be one that is replaced often.
  if (spare_ || !one_is_alone || !orphans_.empty()) return;
  auto request = NextRequest(source);
  if (!request) return;
  auto worker = request->company == Company::kAlone ? StartWorker(*request) : nullptr;
  if (worker) {
    spare_ = Spare{std::move(worker), std::move(*request)};
  } else {
    orphans_.push_front(std::move(*request));
  }
}

std::unique_ptr<Worker> WorkerPool::TakeSpare() {
  Spare spare = *std::exchange(spare_, std::nullopt);
  spare.worker->Ask(std::move(spare.request));
  return std::move(spare.worker);
}

void WorkerPool::DropSpare() {
  if (!spare_) return;
  orphans_.push_front(std::move(spare_->request));
  spare_.reset();
}

std::unique_ptr<Worker> WorkerPool::StartWorker(const Worker::Request& first) {
  auto worker = TryToStart(first);
  if (worker || retired_.empty()) return worker;
  // What these still hold may be what is wanting.
  retired_.clear();
  return TryToStart(first);
}

std::unique_ptr<Worker> WorkerPool::TryToStart(const Worker::Request& first) const {
  std::vector<int> others;
  for (const auto& other : workers_) {
    if (other) others.push_back(other->descriptor());
  }
  for (const auto& other : retired_) others.push_back(other->descriptor());
  if (spare_) others.push_back(spare_->worker->descriptor());
  const Worker::BeginWork begin = [&](int descriptor) -> AnswerInput {
    if (!callbacks_.enter || callbacks_.enter(first.input, first.company, descriptor)) return callbacks_.answer;
    return [this](const Input& input, const ReportDigest&) {
      return callbacks_.fail(input, "the process cannot be confined");
    };
  };
  return Worker::Start(begin, first.company, settings_.memory_bytes, others);
}

bool WorkerPool::HasWorkers() const {
  return std::ranges::any_of(workers_, [](const auto& worker) { return worker != nullptr; });
}

void WorkerPool::WaitForNews(const InputSource& source) {
  const bool are_busy =
      std::ranges::all_of(workers_, [](const auto& worker) { return worker && worker->IsBusyForARound(); });
  // The end of a worker is news at any time, its answers only once it may run short of inputs.
  const short news = are_busy ? 0 : POLLIN;
  std::vector<pollfd> watched;
  Clock::time_point wake = Clock::now() + (are_busy ? Worker::kRound : kTick);
  for (const auto& worker : workers_) {
    if (!worker) continue;
    watched.push_back({worker->descriptor(), news, 0});
    if (const auto deadline = worker->Deadline()) wake = std::min(wake, *deadline);
  }
  const bool may_get_more = source_state_ == InputSource::State::kWait && HasRoom();
  if (may_get_more && !are_busy) watched.push_back({source.descriptor(), POLLIN, 0});

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
    if (!lives || was_late) {
      Bury(std::move(worker), was_late);
    } else if (worker->is_done()) {
      Retire(worker);
    }
  }
  ShareOut(now);
}

void WorkerPool::ShareOut(Clock::time_point now) {
  const bool is_one_idle =
      std::ranges::any_of(workers_, [](const auto& worker) { return !worker || worker->pending() == 0; });
  if (!is_one_idle || !orphans_.empty()) return;
  const auto stuck = std::ranges::find_if(workers_, [&](const auto& worker) { return worker && worker->IsStuck(now); });
  if (stuck != workers_.end()) orphans_ = (*stuck)->TakeBack();
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
  const std::optional<int> wish = worker->wish();
  const bool is_granted = !was_late && wish && Grant(*wish, current);
  if (was_late) {
    Fail(current, "takes longer than " + Seconds(callbacks_.time_limit(current.input)));
  } else if (wish == kWishForOwnProcess && !is_granted) {
    Fail(current, "was replaced each time it was opened");
  } else if (is_granted || retried_.insert(current.number).second) {
    lost.push_front(std::move(current));
  } else {
    Fail(current, "the probe broke down twice: " + end);
  }
  orphans_.insert(orphans_.end(), std::make_move_iterator(lost.begin()), std::make_move_iterator(lost.end()));
}

bool WorkerPool::Grant(int wish, Worker::Request& request) {
  // A worker that has what it needs wishes for nothing; one that goes on has other reasons. A file that is replaced
  // between the confinement and the opening calls for yet another process.
  constexpr unsigned kMostWishesOfOne = 8;
  if (++request.wishes > kMostWishesOfOne) return false;
  if (wish == kWishForOwnProcess) {
    request.company = Company::kAlone;
    return true;
  }
  // What is granted now is not in a process that was started before.
  DropSpare();
  return callbacks_.grant && callbacks_.grant(wish);
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
