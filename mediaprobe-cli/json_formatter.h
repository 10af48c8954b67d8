#pragma once

#include "record_formatter.h"

namespace mediaprobe {

/// One array, indented for people.
class JsonFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) override;
  std::string End() override;

 private:
  bool empty_ = true;
};

/// One record a line.
class NdjsonFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) override;
  std::string End() override { return {}; }
};

}  // namespace mediaprobe
