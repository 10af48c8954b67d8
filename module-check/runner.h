#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "check.h"
#include "subject.h"

namespace module_check {

enum class Outcome { kPassed, kFailed, kNotApplicable, kNotRun };

struct Result {
  const Check* check;
  Outcome outcome = Outcome::kNotRun;
  std::string words;  ///< of kFailed: what was found; of kNotRun: the check that failed before
};

struct RunOptions {
  std::chrono::milliseconds timeout;
  unsigned jobs = 1;
  /// Whether a check was asked for; gates on the way to it are run as well.
  std::function<bool(const Check&)> is_wanted;
};

/// Runs the checks of `areas`, each in a process of its own, and gives what they found in the areas' order. Throws
/// std::system_error when a process cannot be made.
std::vector<Result> RunChecks(std::span<const Area> areas, const Target& target, const RunOptions& options);

}  // namespace module_check
