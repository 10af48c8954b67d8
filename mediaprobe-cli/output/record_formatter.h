#pragma once

#include <string>
#include <string_view>

#include "record/record.h"

namespace mediaprobe {

/// What stands around the records of an output.
struct OutputFrame {
  std::string begin;
  std::string between;
  std::string end;
};

/// An output form: `begin`, the records' texts with `between` between them, and `end` are the whole output.
class RecordFormatter {
 public:
  virtual ~RecordFormatter() = default;
  /// Depends on the record alone, so that any process may do it.
  virtual std::string Format(const Record& record) const = 0;
  virtual OutputFrame Frame() const { return {}; }
};

}  // namespace mediaprobe
