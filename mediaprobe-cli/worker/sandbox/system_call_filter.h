#pragma once

namespace mediaprobe::sandbox {

/// Whether the kernel filters system calls: seccomp, Linux 4.14 and later, unless it was left out.
bool HasSystemCallFilter();

/// From now on this process asks nothing of the system but what the tables of system_calls.h allow; with
/// `reaches_network`, connections to other hosts as well. Cannot be undone. False when the kernel refuses.
bool FilterSystemCalls(bool reaches_network);

}  // namespace mediaprobe::sandbox
