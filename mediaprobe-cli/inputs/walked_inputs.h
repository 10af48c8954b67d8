#pragma once

#include <memory>
#include <optional>

#include "inputs/folder_walk.h"
#include "inputs/input_source.h"

namespace mediaprobe {

/// Another source's inputs, with what lies under those that are folders in their place.
class WalkedInputs final : public InputSource {
 public:
  WalkedInputs(std::unique_ptr<InputSource> inputs, WalkFilter filter);

  State Next(Input* input) override;
  int descriptor() const override { return inputs_->descriptor(); }
  int error() const override { return inputs_->error(); }

 private:
  std::unique_ptr<InputSource> inputs_;
  WalkFilter filter_;
  std::optional<FolderWalk> walk_;
};

}  // namespace mediaprobe
