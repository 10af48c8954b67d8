#pragma once

#include <string>

#include "record.h"

namespace mediaprobe {

/// An output form. The texts that it gives, put one after another, are the whole output.
class RecordFormatter {
 public:
  virtual ~RecordFormatter() = default;
  virtual std::string Format(const Record& record) = 0;
  /// What closes the output after the last record, also when there was none.
  virtual std::string End() = 0;
};

}  // namespace mediaprobe
