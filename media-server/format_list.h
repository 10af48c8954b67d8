#pragma once

#include <string>

namespace media_server {

/// What this build reads, as GetFormatListFunction tells it, in the order of kinds and short names.
std::string FormatList();

}  // namespace media_server
