#pragma once

#include "core/log.h"

extern "C" {

/// Told the name of what is about to be loaded. Need not return: a process that may load nothing ends there.
using CoreLoadingWatcher = void (*)(const char* name);

/// What this process's libraries load only once an input calls for it is told to `watcher` first, which null ends. For
/// hosts that give up the right to open files: they learn what to load before they do. Not to be called while another
/// thread may load something.
CORE_API void CoreWatchLoading(CoreLoadingWatcher watcher);

/// Tells the watcher, if there is one. `name` is that of a service, the file name of a library of ours, or the
/// name of a character set whose converter the system loads.
CORE_API void CoreTellLoading(const char* name);

}  // extern "C"
