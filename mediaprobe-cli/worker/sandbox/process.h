#pragma once

#include <span>

namespace mediaprobe::sandbox {

/// Standard input, output and error lead nowhere from then on. One that `keeps_error` can be written to as before, but
/// a terminal is no longer read from.
void DetachStandardStreams(bool keeps_error);

/// Closes all descriptors of this process but those of `kept` and the standard ones.
void KeepDescriptors(std::span<const int> kept);

/// Empties this process's environment, its old texts included, but for those of `kept` that are set. The zone of dates
/// stays the one that was in force, without the system's file being read again.
void KeepVariables(std::span<const char* const> kept);

/// No core dump, and no other process of the same user looks into this one.
void ForbidInspection();

}  // namespace mediaprobe::sandbox
