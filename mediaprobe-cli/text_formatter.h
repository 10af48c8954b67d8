#pragma once

#include "record_formatter.h"

namespace mediaprobe {

/// One block an input, made to be read: a headline, a line for each stream, then what the tags tell.
class TextFormatter final : public RecordFormatter {
 public:
  explicit TextFormatter(bool use_colors) : use_colors_(use_colors) {}
  std::string Format(const Record& record) override;
  std::string End() override { return {}; }

 private:
  bool use_colors_;
  bool empty_ = true;
};

}  // namespace mediaprobe
