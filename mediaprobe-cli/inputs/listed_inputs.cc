#include "inputs/listed_inputs.h"

#include <utility>

namespace mediaprobe {

ListedInputs::ListedInputs(std::vector<std::string> names) : names_(std::move(names)) {}

InputSource::State ListedInputs::Next(Input* input) {
  if (next_ == names_.size()) return State::kEnd;
  *input = {std::move(names_[next_++]), /*found_by_walk=*/false};
  return State::kInput;
}

}  // namespace mediaprobe
