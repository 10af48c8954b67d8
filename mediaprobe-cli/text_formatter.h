#pragma once

#include "record_formatter.h"

namespace mediaprobe {

/// One block an input, made to be read: a headline, a line for each stream, then what the tags tell.
class TextFormatter final : public RecordFormatter {
 public:
  /// With `is_full` every metadata key follows.
  explicit TextFormatter(bool use_colors, bool is_full = false) : use_colors_(use_colors), is_full_(is_full) {}
  std::string Format(const Record& record) const override;
  OutputFrame Frame() const override { return {{}, "\n", {}}; }

 private:
  bool use_colors_;
  bool is_full_;
};

}  // namespace mediaprobe
