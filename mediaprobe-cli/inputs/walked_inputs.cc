#include "inputs/walked_inputs.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "probe/failure_reason.h"

namespace mediaprobe {
namespace {

bool IsFolder(const std::string& name) {
  std::error_code failure;
  return std::filesystem::is_directory(name, failure);
}

}  // namespace

WalkedInputs::WalkedInputs(std::unique_ptr<InputSource> inputs, WalkFilter filter)
    : inputs_(std::move(inputs)), filter_(std::move(filter)), always_readable_(eventfd(/*count=*/1, EFD_CLOEXEC)) {}

WalkedInputs::~WalkedInputs() {
  if (always_readable_ >= 0) close(always_readable_);
}

InputSource::State WalkedInputs::Next(Input* input) {
  while (true) {
    if (walk_ && walk_->is_done()) walk_.reset();
    if (walk_) {
      if (auto found = walk_->Next()) {
        *input = {.name = std::move(found->path), .found_by_walk = true};
        if (found->error != 0) input->failure = ReasonOf(found->error);
        return State::kInput;
      }
      // Without the descriptor nobody could wait for what is there already.
      if (always_readable_ >= 0) return State::kWait;
      continue;
    }
    const State state = inputs_->Next(input);
    if (state != State::kInput || !input->failure.empty() || !IsFolder(input->name)) return state;
    walk_.emplace(std::move(input->name), filter_);
  }
}

}  // namespace mediaprobe
