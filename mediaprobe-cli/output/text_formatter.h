#pragma once

#include <cstddef>
#include <optional>

#include "output/record_formatter.h"

namespace mediaprobe {

/// How the blocks of the text form look.
struct TextLayout {
  bool use_colors = false;
  bool is_full = false;                ///< every metadata key follows
  std::optional<std::size_t> columns;  ///< of the terminal that lines are to fit; without it every line stays whole
};

/// One block an input, made to be read: a headline, a line for each stream, then what the tags tell.
class TextFormatter final : public RecordFormatter {
 public:
  explicit TextFormatter(const TextLayout& layout) : layout_(layout) {}
  std::string Format(const Record& record) const override;
  OutputFrame Frame() const override { return {{}, "\n", {}}; }

 private:
  TextLayout layout_;
};

}  // namespace mediaprobe
