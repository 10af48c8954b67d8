#include "json_formatter.h"

#include "json_text.h"
#include "record_json.h"

namespace mediaprobe {

std::string JsonFormatter::Format(const Record& record) const {
  return "\n  " + IndentedJson(ToJson(record), /*level=*/1);
}

std::string NdjsonFormatter::Format(const Record& record) const { return CompactJson(ToJson(record)) + '\n'; }

}  // namespace mediaprobe
