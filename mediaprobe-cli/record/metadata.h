#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/rational.h"

namespace mediaprobe {

/// One value of a metadata store. Texts are as the file has them, valid UTF-8 or not.
using MetadataValue = std::variant<std::int64_t, double, std::string, core::Rational>;

/// Keys are the interface's own texts, which live as long as the program. Only keys that have a value stand here.
struct MetadataEntry {
  std::string_view key;
  MetadataValue value;
};
using Metadata = std::vector<MetadataEntry>;

/// The value under `key`, or null.
const MetadataValue* FindMetadata(const Metadata& metadata, std::string_view key);

/// Degrees, north and east positive.
struct Location {
  double latitude;
  double longitude;
};

}  // namespace mediaprobe
