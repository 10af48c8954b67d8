#pragma once

#include <string>

#include "inputs/input_source.h"

namespace mediaprobe {

/// Inputs that a descriptor gives, each ended by `separator` or by the end of the stream; empty ones are passed over.
/// One that holds a NUL, which no name does, is cut behind that and has failed.
/// Reads only what has arrived, so that nobody waits for the next name with a known answer in hand.
class StreamedInputs final : public InputSource {
 public:
  /// Borrows `descriptor`.
  StreamedInputs(int descriptor, char separator);

  State Next(Input* input) override;
  int descriptor() const override { return descriptor_; }
  int error() const override { return error_; }

 private:
  /// Takes a whole name out of what was read.
  bool TakeName(Input* input);

  int descriptor_;
  char separator_;
  std::string read_;
  std::size_t start_ = 0;     // of the name that is next
  std::size_t searched_ = 0;  // up to here there is no separator
  bool ended_ = false;
  int error_ = 0;
};

}  // namespace mediaprobe
