#pragma once

#include "output/record_formatter.h"

namespace mediaprobe {

/// One array, indented for people.
class JsonFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) const override;
  OutputFrame Frame() const override { return {"[", ",", "\n]\n"}; }
};

/// One record a line.
class NdjsonFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) const override;
};

}  // namespace mediaprobe
