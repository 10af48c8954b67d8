#include "output/json_formatter.h"

#include "output/json_text.h"
#include "output/record_json.h"

namespace mediaprobe {

std::string JsonFormatter::Format(const Record& record) const {
  return "\n  " + IndentedJson(ToJson(record), /*level=*/1);
}

std::string NdjsonFormatter::Format(const Record& record) const { return CompactJson(ToJson(record)) + '\n'; }

}  // namespace mediaprobe
