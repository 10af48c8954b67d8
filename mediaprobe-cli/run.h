#pragma once

#include "command_line.h"

namespace mediaprobe {

/// Does what a command line asks for, with standard output and standard error as outputs. Returns the exit status.
int Run(const Options& options);

}  // namespace mediaprobe
