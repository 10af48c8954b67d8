#include "record/metadata.h"

#include <algorithm>

namespace mediaprobe {

const MetadataValue* FindMetadata(const Metadata& metadata, std::string_view key) {
  const auto found =
      std::find_if(metadata.begin(), metadata.end(), [key](const auto& entry) { return entry.key == key; });
  return found == metadata.end() ? nullptr : &found->value;
}

}  // namespace mediaprobe
