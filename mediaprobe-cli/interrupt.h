#pragma once

#include <array>
#include <csignal>

namespace mediaprobe {

/// While it lives, SIGINT, SIGTERM, SIGHUP and SIGQUIT do not end the process but are remembered, so that the output
/// gets a valid end. One that comes after the first ends the process. Signals that were ignored, as in a background
/// job, stay ignored. One object at a time.
class Interrupts {
 public:
  Interrupts();
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  bool happened() const;
  /// Holds them back from now on, save where `wait_mask` is in force: a wait that lets them through misses none.
  void HoldBack();
  /// Ends that, for work that may wait without `wait_mask`.
  void LetThrough();
  const sigset_t& wait_mask() const { return before_; }

 private:
  static constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

  static void Remember(int signal);

  sigset_t before_{};  // signals that were blocked
  std::array<struct sigaction, kSignals.size()> previous_{};
};

}  // namespace mediaprobe
