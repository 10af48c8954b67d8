#pragma once

#include <memory>
#include <optional>

#include "inputs/folder_walk.h"
#include "inputs/input_source.h"

namespace mediaprobe {

/// Another source's inputs, with what lies under those that are folders in their place. A folder that holds none of
/// them is a wait that ends at once, so that whoever asks can see to other things between one folder and the next.
class WalkedInputs final : public InputSource {
 public:
  WalkedInputs(std::unique_ptr<InputSource> inputs, WalkFilter filter);
  ~WalkedInputs() override;
  WalkedInputs(const WalkedInputs&) = delete;
  WalkedInputs& operator=(const WalkedInputs&) = delete;

  State Next(Input* input) override;
  int descriptor() const override { return walk_ ? always_readable_ : inputs_->descriptor(); }
  int error() const override { return inputs_->error(); }

 private:
  std::unique_ptr<InputSource> inputs_;
  WalkFilter filter_;
  int always_readable_;  // descriptor, negative where the system had none left
  std::optional<FolderWalk> walk_;
};

}  // namespace mediaprobe
