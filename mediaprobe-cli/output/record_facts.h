#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "record/record.h"

namespace mediaprobe {

/// One line under the headline of a text block.
struct Fact {
  std::string label;
  std::string value;  ///< fit for a terminal, not empty
};

/// Tags, orientation, dates, place, camera, AI label and UUID, as far as they are known, and whether texts were cut, in
/// the order in which they are shown.
std::vector<Fact> FactsOf(const Record& record);

/// Facts under a heading of their own.
struct FactGroup {
  std::string heading;
  std::vector<Fact> facts;  ///< not empty
};

/// Every metadata key with its value: first those of the file, then those of each picture stream.
std::vector<FactGroup> MetadataOf(const Record& record);

}  // namespace mediaprobe
