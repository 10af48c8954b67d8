#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mediaprobe {

/// One file, URL or sequence to probe.
struct Input {
  std::string name;            ///< as given, or the path found while walking
  bool found_by_walk = false;  ///< nobody asked for it: it is passed over when it is nothing that the services read
  std::string failure;         ///< why there is nothing to probe, in words for a person; empty for all else
};

/// Where inputs come from, one after another.
class InputSource {
 public:
  enum class State {
    kInput,  ///< `*input` holds the next one
    kWait,   ///< none yet: `descriptor` becomes readable when there is more to know
    kEnd,
  };
  virtual ~InputSource() = default;
  virtual State Next(Input* input) = 0;
  /// Negative for a source that never waits.
  virtual int descriptor() const { return -1; }
  /// What a source that cannot be read to its end failed with, as errno has it; 0 for none.
  virtual int error() const { return 0; }
  /// How many inputs there are in all, where that is known beforehand.
  virtual std::optional<std::uint64_t> total() const { return std::nullopt; }
};

}  // namespace mediaprobe
