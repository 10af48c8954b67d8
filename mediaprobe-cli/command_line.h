#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "inputs/folder_walk.h"
#include "probe/prober.h"

namespace mediaprobe {

enum class OutputForm { kText, kJson, kNdjson, kCsv };
enum class Isolation {
  kNone,    ///< in this process
  kWorker,  ///< in worker processes that are replaced when they die
  kStrict,  ///< in a fresh process for each input, which can read that input alone
};
/// What is listed instead of probing anything.
enum class Listing { kNone, kFormats, kServices };

/// What a command line asks for.
struct Options {
  std::vector<std::string> inputs;  ///< empty only with `from_standard_input` or a listing
  bool from_standard_input = false;
  char separator = '\n';           ///< of the inputs there
  std::optional<WalkFilter> walk;  ///< folders are walked
  Listing listing = Listing::kNone;
  OutputForm form = OutputForm::kText;
  bool full = false;   ///< every metadata key in the text form
  std::string output;  ///< file, empty for standard output
  ServiceChoice service = ServiceChoice::kAuto;
  std::string key;  ///< hex key for protected files, empty for none
  bool uuid = false;
  unsigned jobs = 0;                                 ///< inputs probed at once
  std::optional<std::chrono::milliseconds> timeout;  ///< for one input; empty for the usual one of its kind
  std::uint64_t memory_bytes = 0;                    ///< most that probing one input may take
  std::optional<Isolation> isolation;                ///< empty: workers, one plain file first in this process
  bool allow_unsandboxed = false;                    ///< goes on where the kernel cannot confine as `isolation` asks
  std::optional<bool> progress;                      ///< empty: when standard error is a terminal
  int log_level = 0;                                 ///< a CoreLogLevel
  std::string log_file;                              ///< empty for standard error
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
