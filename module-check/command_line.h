#pragma once

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace module_check {

enum ExitStatus : int { kExitKept = 0, kExitBroken = 1, kExitUsage = 2 };

struct Options {
  std::string module;
  std::string media_file;         ///< empty: one of our own
  std::vector<std::string> with;  ///< modules whose services the module asks for
  std::vector<std::string> only;  ///< patterns of ids; empty: all
  std::chrono::milliseconds timeout{};
  unsigned jobs = 1;
  bool list = false;
  bool json = false;
  bool verbose = false;
};

/// What is written, to standard output for kExitKept and to standard error otherwise, before the program leaves.
struct EarlyExit {
  ExitStatus status;
  std::string text;
};

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv);

}  // namespace module_check
