#pragma once

#include <string>

#include "record/record.h"

namespace mediaprobe {

/// What a text block says right behind the input's name: format, size, duration. Fit for a terminal.
std::string Headline(const Record& record);

}  // namespace mediaprobe
