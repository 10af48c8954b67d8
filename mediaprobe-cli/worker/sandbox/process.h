#pragma once

#include <span>

namespace mediaprobe::sandbox {

/// Standard input and output lead nowhere from then on.
void DetachStandardStreams();

/// Closes all descriptors of this process but those of `kept` and the standard ones.
void KeepDescriptors(std::span<const int> kept);

/// Empties this process's environment, its old texts included, but for those of `kept` that are set. The zone of dates
/// stays the one that was in force, without the system's file being read again.
void KeepVariables(std::span<const char* const> kept);

/// No core dump, and no other process of the same user looks into this one.
void ForbidInspection();

}  // namespace mediaprobe::sandbox
