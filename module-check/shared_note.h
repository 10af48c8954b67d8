#pragma once

#include <array>
#include <string>
#include <string_view>

namespace module_check {

enum class Verdict : int {
  kNone,  ///< the process ended before the check did
  kPassed,
  kFailed,
  kNotApplicable,
};

/// What a check's process tells its parent, in memory that both have: it is still there when the process is not.
struct SharedNote {
  std::array<char, 512> at;      ///< what the check was about to do
  std::array<char, 1024> fault;  ///< of kFailed
  volatile Verdict verdict;
};

/// As much of `text` as fits, with a terminator.
template <std::size_t kSize>
void Note(std::string_view text, std::array<char, kSize>& out) {
  const std::size_t length = text.copy(out.data(), kSize - 1);
  out[length] = '\0';
}

}  // namespace module_check
