#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace mediaprobe {

/// "a.mp4: digesting, 41 % of 1.27 GB", or "a.mp4: digesting, 520 MB" where the total is 0.
std::string DigestText(const std::string& name, std::uint64_t done, std::uint64_t total);

/// The line of a terminal that tells how far a digest is: written over and over once the digest has taken a second, and
/// wiped at the end. One thread at a time.
class DigestLine {
 public:
  static constexpr std::chrono::milliseconds kFirstAfter{1000};

  /// Borrows `terminal`.
  DigestLine(std::string name, std::FILE* terminal, std::chrono::milliseconds first_after = kFirstAfter);
  ~DigestLine();
  DigestLine(const DigestLine&) = delete;
  DigestLine& operator=(const DigestLine&) = delete;

  void Show(std::uint64_t done, std::uint64_t total);

 private:
  using Clock = std::chrono::steady_clock;

  std::string name_;
  std::FILE* terminal_;
  Clock::time_point first_at_;
  bool is_shown_ = false;
};

}  // namespace mediaprobe
