#pragma once

#include <optional>
#include <span>
#include <string>

#include "service/module_descriptor.h"

namespace service {

/// Loads the module at `path` (UTF-8; a bare file name is looked for beside this library first) and gives the table
/// that its GetServiceModuleInfo tells. Nothing, and the reason in `*fault`, when the file is no module. What was
/// loaded stays so until the process ends.
std::optional<std::span<const ServiceDescriptor>> LoadServiceTable(const char* path, std::string* fault);

}  // namespace service
