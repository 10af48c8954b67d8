#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inputs/folder_walk.h"
#include "inputs/input_source.h"

namespace mediaprobe {

/// Inputs named on the command line. With `walk`, what lies under those that are folders takes their place.
class ListedInputs final : public InputSource {
 public:
  explicit ListedInputs(std::vector<std::string> names, std::optional<WalkFilter> walk = std::nullopt);

  State Next(Input* input) override;
  std::optional<std::uint64_t> total() const override;

 private:
  std::vector<std::string> names_;
  std::size_t next_ = 0;
  std::optional<WalkFilter> filter_;
  std::optional<FolderWalk> walk_;  // under the input before `next_`
};

}  // namespace mediaprobe
