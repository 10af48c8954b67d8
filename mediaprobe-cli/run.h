#pragma once

#include <string>

#include "command_line.h"

namespace mediaprobe {

/// Writes `text` on standard output. Returns the exit status.
int Show(const std::string& text);

/// Does what a command line asks for, with standard output and standard error as outputs. Returns the exit status,
/// unless the program has to start over: with `argv`, from which `options` were read.
int Run(const Options& options, char* const* argv);

}  // namespace mediaprobe
