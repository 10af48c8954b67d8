#include "worker/worker.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <variant>

#include "worker/memory_limit.h"
#include "worker/wishes.h"

namespace mediaprobe {
namespace {

constexpr std::size_t kReadSize = 64 * 1024;
/// The next inputs may be far quicker than the last ones, and the parent may wake late.
constexpr int kRoundsAhead = 8;
constexpr std::size_t kMostAppetite = 64;
/// Names with a worker. They must fit into its socket while it waits for us to read an answer, or both would wait.
constexpr std::size_t kMostRequestedBytes = 16 * 1024;
/// Ten reports of a digest: a shorter limit of time would pass between two of them.
constexpr Worker::Clock::duration kLeastDigestPatience = std::chrono::seconds(2);
constexpr int kOutOfMemoryStatus = 70;  // that a worker leaves with

/// False when the other end is gone.
bool SendAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void LimitThisProcess(std::uint64_t memory_bytes) {
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const rlim_t most = AddressSpaceWith(memory_bytes);
  const rlimit memory{most, most};
  setrlimit(RLIMIT_AS, &memory);
}

/// What a terminal sends reaches every process of the group: the parent decides what becomes of it.
void LeaveInterruptsToTheParent() {
  for (const int interrupt : {SIGINT, SIGHUP, SIGQUIT}) signal(interrupt, SIG_IGN);
  signal(SIGTERM, SIG_DFL);
  signal(SIGPIPE, SIG_IGN);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Answers until the parent hangs up.
void Serve(int descriptor, const AnswerInput& answer) {
  FrameDecoder decoder;
  std::array<char, kReadSize> buffer;
  const ReportDigest report = [&](std::uint64_t done, std::uint64_t total) {
    SendAll(descriptor, frame::DigestReport(done, total));
  };
  while (true) {
    while (const auto message = decoder.Next()) {
      const auto* input = std::get_if<Input>(&*message);
      if (!input || !SendAll(descriptor, frame::Reply(answer(*input, report)))) return;
    }
    const ssize_t got = read(descriptor, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0 || !decoder.Add({buffer.data(), static_cast<std::size_t>(got)})) return;
  }
}

[[noreturn]] void RunChild(int descriptor, pid_t parent, const Worker::BeginWork& begin, std::uint64_t memory_bytes,
                           std::span<const int> inherited) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // The parent may have died before that.
  if (getppid() != parent) _exit(1);
  for (const int unneeded : inherited) close(unneeded);
  LeaveInterruptsToTheParent();
  LimitThisProcess(memory_bytes);
  try {
    Serve(descriptor, begin(descriptor));
  } catch (const std::bad_alloc&) {
    _exit(kOutOfMemoryStatus);
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

}  // namespace

std::unique_ptr<Worker> Worker::Start(const BeginWork& begin, Company company, std::uint64_t memory_bytes,
                                      std::span<const int> inherited) {
  std::array<int, 2> ends;
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return nullptr;
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process == 0) {
    close(ends[0]);
    RunChild(ends[1], parent, begin, memory_bytes, inherited);
  }
  close(ends[1]);
  if (process < 0) {
    close(ends[0]);
    return nullptr;
  }
  return std::unique_ptr<Worker>(new Worker(process, ends[0], company));
}

Worker::~Worker() { End(); }

void Worker::Ask(Request request) {
  unsent_ += frame::Request(request.input);
  requested_bytes_ += request.input.name.size();
  if (requests_.empty()) started_ = Clock::now();
  requests_.push_back(std::move(request));
}

void Worker::SendRequests() {
  // A dead worker is noticed when its end of the stream is read.
  SendAll(descriptor_, unsent_);
  unsent_.clear();
}

std::size_t Worker::appetite() const {
  if (is_last_) return 0;
  if (requested_bytes_ > kMostRequestedBytes) return kLeastAppetite;
  const auto wanted = static_cast<std::size_t>(kRoundsAhead * kRound / std::max(pace_, Clock::duration(1)));
  return std::clamp(wanted, kLeastAppetite, kMostAppetite);
}

bool Worker::IsBusyForARound() const {
  return pending() >= kLeastAppetite && pending() * pace_ >= kRound && !decoder_.has_begun();
}

bool Worker::IsStuck(Clock::time_point now) const {
  constexpr auto kLong = std::chrono::milliseconds(100);
  return pending() > 1 && now - started_ > kLong;
}

std::deque<Worker::Request> Worker::TakeBack() {
  std::deque<Request> others = std::move(requests_);
  requests_.clear();
  requests_.push_back(std::move(others.front()));
  others.pop_front();
  is_last_ = true;
  return others;
}

bool Worker::Receive(const std::function<void(Reply)>& take) {
  std::array<char, kReadSize> buffer;
  const ssize_t got = recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (got < 0) return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
  if (got == 0 || !decoder_.Add({buffer.data(), static_cast<std::size_t>(got)})) return false;
  const auto now = Clock::now();
  const std::size_t before = requests_.size();
  while (auto message = decoder_.Next()) {
    if (requests_.empty()) return is_last_;
    if (const auto* digest = std::get_if<DigestProgress>(&*message)) {
      if (!requests_.front().wants_digest) return false;
      // What only says again how far it is, or less, gains no time by that.
      if (digest_ && digest->done <= digest_->done) continue;
      digest_ = *digest;
      digest_grew_ = now;
      continue;
    }
    auto* answer = std::get_if<Answer>(&*message);
    if (!answer) return false;
    const std::uint64_t number = requests_.front().number;
    requested_bytes_ -= requests_.front().input.name.size();
    requests_.pop_front();
    digest_.reset();
    take({number, std::move(*answer)});
  }
  if (const std::size_t answered = before - requests_.size(); answered > 0) {
    pace_ = (now - started_) / answered;
    started_ = now;
  }
  return !decoder_.is_broken();
}

std::optional<Worker::Clock::time_point> Worker::Deadline() const {
  if (requests_.empty()) return std::nullopt;
  const Clock::duration limit = requests_.front().time_limit;
  return digest_ ? digest_grew_ + std::max(limit, kLeastDigestPatience) : started_ + limit;
}

void Worker::Kill() const {
  if (process_ > 0) kill(process_, SIGKILL);
}

std::string Worker::End() {
  if (process_ < 0) return {};
  int status = 0;
  std::string words;
  // Whoever died by itself is a zombie now, which a kill does not change; the status tells who it was.
  Kill();
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) {
    words = "it asked the system for what no probe needs";
  } else if (WIFSIGNALED(status)) {
    const int signal_number = WTERMSIG(status);
    words = "killed by signal " + std::to_string(signal_number) + " (" + strsignal(signal_number) + ")";
  } else if (WIFEXITED(status) && WEXITSTATUS(status) == kOutOfMemoryStatus) {
    words = "out of memory";
  } else if (WIFEXITED(status)) {
    const int wish = WEXITSTATUS(status) - kFirstWishStatus;
    if (wish >= 0 && wish < kMostWishes) wish_ = wish;
    words = "left with status " + std::to_string(WEXITSTATUS(status));
  }
  process_ = -1;
  close(descriptor_);
  return words;
}

}  // namespace mediaprobe
