#include "interrupt.h"

#include <pthread.h>

#include <utility>

namespace mediaprobe {
namespace {

bool IsIgnored(int signal) {
  struct sigaction current {};
  return sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

sigset_t Interrupts() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  return signals;
}

}  // namespace

InterruptWatch::InterruptWatch(std::function<void()> action) {
  if (IsIgnored(SIGINT)) return;
  const sigset_t signals = Interrupts();
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
  watcher_ = std::thread([this, signals, action = std::move(action)] {
    int signal = 0;
    sigwait(&signals, &signal);
    if (!ending_) action();
  });
}

InterruptWatch::~InterruptWatch() {
  if (!watcher_.joinable()) return;
  ending_ = true;
  pthread_kill(watcher_.native_handle(), SIGINT);
  watcher_.join();
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace mediaprobe
