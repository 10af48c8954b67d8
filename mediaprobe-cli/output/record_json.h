#pragma once

#include <nlohmann/json.hpp>

#include "record/record.h"

namespace mediaprobe {

/// The record as the public JSON object (docs/record.schema.json), keys in its order.
nlohmann::ordered_json ToJson(const Record& record);

}  // namespace mediaprobe
