#include "inputs/listed_inputs.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace mediaprobe {
namespace {

bool IsFolder(const std::string& name) {
  std::error_code failure;
  return std::filesystem::is_directory(name, failure);
}

}  // namespace

ListedInputs::ListedInputs(std::vector<std::string> names, std::optional<WalkFilter> walk)
    : names_(std::move(names)), filter_(std::move(walk)) {}

InputSource::State ListedInputs::Next(Input* input) {
  while (true) {
    if (walk_) {
      if (auto found = walk_->Next()) {
        *input = {std::move(*found), /*found_by_walk=*/true};
        return State::kInput;
      }
      walk_.reset();
    }
    if (next_ == names_.size()) return State::kEnd;
    std::string& name = names_[next_++];
    if (filter_ && IsFolder(name)) {
      walk_.emplace(name, *filter_);
      continue;
    }
    *input = {std::move(name), /*found_by_walk=*/false};
    return State::kInput;
  }
}

std::optional<std::uint64_t> ListedInputs::total() const {
  return filter_ ? std::nullopt : std::optional<std::uint64_t>(names_.size());
}

}  // namespace mediaprobe
