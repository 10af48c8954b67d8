#include "inputs/listed_inputs.h"

#include <utility>

namespace mediaprobe {

ListedInputs::ListedInputs(std::vector<std::string> names) : names_(std::move(names)) {}

InputSource::State ListedInputs::Next(Input* input) {
  if (next_ == names_.size()) return State::kEnd;
  *input = {.name = std::move(names_[next_++])};
  return State::kInput;
}

}  // namespace mediaprobe
