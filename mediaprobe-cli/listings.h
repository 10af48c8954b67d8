#pragma once

#include <string>

#include "host.h"

namespace mediaprobe {

/// The formats that this build reads: a line each with its kind ("media", "image", "svg"), short name and long name.
std::string FormatList(const Host& host);
/// The registered services: a line each with UUID, name and description.
std::string ServiceList(const Host& host);

}  // namespace mediaprobe
