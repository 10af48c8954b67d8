#pragma once

#include <string>

#include "inputs/input_source.h"

namespace mediaprobe {

/// Whether the kernel can confine a process: Linux 5.13 and later, unless Landlock was left out.
bool CanConfine();

/// From now on this process, and what it starts, reads one input and nothing else: the file that `input` names, for a
/// sequence the files of its folder. What the system's libraries and ours in `library_folder` read of their own accord
/// stays readable, and for network URLs what finding and trusting a host takes. Nothing can be written, made or run.
/// Cannot be undone. False when the kernel refuses; the process may read as before then.
bool ConfineTo(const Input& input, const std::string& library_folder);

}  // namespace mediaprobe
