#pragma once

#include "inputs/input_source.h"
#include "worker/run_callbacks.h"

namespace mediaprobe {

/// Answers inputs in this process, one after another, without limits of time and memory. False when `take` or `stop`
/// ended the run early.
bool RunHere(InputSource& source, const RunCallbacks& callbacks);

}  // namespace mediaprobe
