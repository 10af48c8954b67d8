#include "worker/first_try.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "worker/memory_limit.h"

namespace mediaprobe {
namespace {

// Hundred times what a file in the page cache takes; a slow one costs this much more than in a worker.
constexpr std::chrono::microseconds kPatience = std::chrono::milliseconds(250);

constexpr std::array kSignals = {SIGALRM, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};

// What the handler needs, which may only touch what is laid out beforehand.
char* const* restart_line = nullptr;
rlimit restart_memory{};
alignas(16) std::array<char, 64 * 1024> handler_stack;  // the stack itself may be what has run out

/// `time` is less than a second.
void WatchTime(std::chrono::microseconds time) {
  const itimerval timer{.it_interval = {}, .it_value = {.tv_sec = 0, .tv_usec = time.count()}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

constexpr std::chrono::microseconds kNever{0};

sigset_t OurSignals() {
  sigset_t ours;
  sigemptyset(&ours);
  for (const int number : kSignals) sigaddset(&ours, number);
  return ours;
}

// The address sanitizer takes memory before a call that does not return, and may be at that when the signal comes.
[[gnu::no_sanitize_address]] void OnTrouble(int) { FirstTry::StartOver(); }

}  // namespace

[[gnu::no_sanitize_address]] void FirstTry::StartOver() {
  WatchTime(kNever);
  setrlimit(RLIMIT_AS, &restart_memory);
  // A blocked signal would stay blocked in the program that is started.
  const sigset_t ours = OurSignals();
  sigprocmask(SIG_UNBLOCK, &ours, nullptr);
  execv("/proc/self/exe", restart_line);
  _exit(EXIT_FAILURE);
}

FirstTry::FirstTry(char* const* command_line, std::uint64_t memory_bytes, std::chrono::milliseconds time_limit) {
  restart_line = command_line;
  const stack_t stack{.ss_sp = handler_stack.data(), .ss_flags = 0, .ss_size = handler_stack.size()};
  sigaltstack(&stack, nullptr);
  struct sigaction action {};
  action.sa_handler = &OnTrouble;
  action.sa_flags = SA_ONSTACK;
  for (const int number : kSignals) sigaction(number, &action, nullptr);
  // Whoever started us may have left them blocked.
  const sigset_t ours = OurSignals();
  sigprocmask(SIG_UNBLOCK, &ours, &former_mask_);
  getrlimit(RLIMIT_AS, &former_memory_);
  restart_memory = former_memory_;
  const rlimit memory{AddressSpaceWith(memory_bytes), former_memory_.rlim_max};
  setrlimit(RLIMIT_AS, &memory);
  WatchTime(std::min<std::chrono::microseconds>(kPatience, time_limit));
}

FirstTry::~FirstTry() {
  WatchTime(kNever);
  setrlimit(RLIMIT_AS, &former_memory_);
  sigprocmask(SIG_SETMASK, &former_mask_, nullptr);
  for (const int number : kSignals) std::signal(number, SIG_DFL);
}

}  // namespace mediaprobe
