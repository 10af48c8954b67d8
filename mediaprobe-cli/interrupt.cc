#include "interrupt.h"

namespace mediaprobe {
namespace {

volatile sig_atomic_t interrupted = 0;

}  // namespace

void Interrupts::Remember(int) {
  interrupted = 1;
  // The next one, whichever of them it is, ends the process.
  for (const int signal : kSignals) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == Remember) std::signal(signal, SIG_DFL);
  }
}

Interrupts::Interrupts() {
  interrupted = 0;
  sigprocmask(SIG_SETMASK, nullptr, &before_);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &previous_[i]);
    if (previous_[i].sa_handler == SIG_IGN) continue;
    struct sigaction remember {};
    remember.sa_handler = Remember;
    sigaction(kSignals[i], &remember, nullptr);
  }
}

Interrupts::~Interrupts() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &previous_[i], nullptr);
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

bool Interrupts::happened() const { return interrupted != 0; }

void Interrupts::HoldBack() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kSignals) sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

void Interrupts::LetThrough() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace mediaprobe
