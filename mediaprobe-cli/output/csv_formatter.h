#pragma once

#include "output/record_formatter.h"

namespace mediaprobe {

/// A header that names the columns, then one row for each stream of a media file, one for an image or an SVG, one for
/// what could not be answered or has no streams. Cells are quoted as RFC 4180 says where that is needed; lines end with
/// a line feed. Lists are joined by blanks, rationals are written "30000/1001". Always valid UTF-8.
class CsvFormatter final : public RecordFormatter {
 public:
  std::string Format(const Record& record) const override;
  OutputFrame Frame() const override;
};

}  // namespace mediaprobe
