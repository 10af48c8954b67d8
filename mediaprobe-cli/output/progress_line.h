#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace mediaprobe {

/// How far a run is.
struct RunProgress {
  std::uint64_t answered = 0;
  std::optional<std::uint64_t> total;  ///< where the number of inputs is known
  std::string current;                 ///< the input that the output waits for
  std::chrono::duration<double> elapsed{};
  struct Digest {
    std::uint64_t done = 0;   ///< bytes
    std::uint64_t total = 0;  ///< 0 where it is not known
  };
  std::optional<Digest> digest;  ///< of the current input, while that is at it
};

/// "214 of 1,000, 350/s, 0:02 left, a.mp4", at most `columns` characters wide. With one input only what it is at:
/// "a.mp4: digesting, 41 % of 1.27 GB", and nothing before.
std::string ProgressText(const RunProgress& progress, std::size_t columns);

/// The line of a terminal that tells how far a run is: written over and over once the run has taken a while, and out of
/// the way while something else is written there.
class ProgressLine {
 public:
  /// Borrows `terminal`; null for a line that is never shown.
  explicit ProgressLine(std::FILE* terminal);
  ~ProgressLine() { Wipe(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Call as often as you like: it is drawn a few times a second.
  void Show(RunProgress progress);
  /// Makes room for something else. The next Show or Restore draws the line again.
  void Wipe();
  /// Draws the line as it was before Wipe. Where what stands there now has not ended its last line, this one begins
  /// below it.
  void Restore(bool is_below_open_line);

 private:
  using Clock = std::chrono::steady_clock;

  void Draw();

  std::FILE* terminal_;
  Clock::time_point started_ = Clock::now();
  Clock::time_point next_;
  std::string text_;  // as it was last drawn, empty before that
  bool is_shown_ = false;
  bool is_below_open_line_ = false;
};

}  // namespace mediaprobe
