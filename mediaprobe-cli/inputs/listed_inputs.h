#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inputs/input_source.h"

namespace mediaprobe {

/// Inputs named on the command line.
class ListedInputs final : public InputSource {
 public:
  explicit ListedInputs(std::vector<std::string> names);

  State Next(Input* input) override;
  std::optional<std::uint64_t> total() const override { return names_.size(); }

 private:
  std::vector<std::string> names_;
  std::size_t next_ = 0;
};

}  // namespace mediaprobe
