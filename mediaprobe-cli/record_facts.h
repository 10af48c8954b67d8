#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "record.h"

namespace mediaprobe {

/// One line under the headline of a text block.
struct Fact {
  std::string label;
  std::string value;  ///< fit for a terminal, not empty
};

/// Tags, orientation, dates, place, camera, AI label and UUID, as far as they are known, in the order in which they are
/// shown.
std::vector<Fact> FactsOf(const Record& record);
/// Every metadata key of the file and of its picture streams, with its value.
std::vector<Fact> MetadataFacts(const Record& record);

}  // namespace mediaprobe
