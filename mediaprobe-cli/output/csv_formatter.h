#pragma once

#include "output/record_formatter.h"

namespace mediaprobe {

/// A header that names the columns, then one row for each stream of a media file, one for an image or an SVG, one for
/// what could not be answered or has no streams. Cells are quoted as RFC 4180 says where that is needed; lines end with
/// a line feed. Lists are joined by blanks, rationals are written "30000/1001". Always valid UTF-8. Programs get texts
/// as they are; for a terminal hidden characters in them are written out.
class CsvFormatter final : public RecordFormatter {
 public:
  explicit CsvFormatter(bool is_for_terminal) : is_for_terminal_(is_for_terminal) {}

  std::string Format(const Record& record) const override;
  OutputFrame Frame() const override;

 private:
  bool is_for_terminal_;
};

}  // namespace mediaprobe
