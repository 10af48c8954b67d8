#pragma once

#include <string>
#include <variant>
#include <vector>

#include "prober.h"

namespace mediaprobe {

enum class OutputForm { kText, kJson, kNdjson };

/// What a command line asks for.
struct Options {
  std::vector<std::string> inputs;  ///< at least one
  OutputForm form = OutputForm::kText;
  ServiceChoice service = ServiceChoice::kAuto;
  std::string key;  ///< hex key for protected files, empty for none
  bool uuid = false;
  int log_level = 0;  ///< a CoreLogLevel
};

/// What to do instead of probing: show `text`, on standard output where `status` is 0 and on standard error otherwise,
/// and leave with `status`.
struct EarlyExit {
  int status;
  std::string text;
};

/// Exit statuses, part of the public contract.
inline constexpr int kExitAnswered = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

/// Reads the arguments as main gets them, and the file of --key-file. Every place of `argv` that shows the value of
/// --key is overwritten, so that lists of processes show it no longer.
std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv);

}  // namespace mediaprobe
