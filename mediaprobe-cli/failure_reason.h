#pragma once

#include <string>

#include "input_path.h"

namespace mediaprobe {

/// Why an input could not be opened, in words for a person. What the file system says of a local path comes first, then
/// `service_reason` (what the libraries told, may be empty), then a general word.
std::string FailureReason(const InputPath& input, const std::string& service_reason);

}  // namespace mediaprobe
