#include "json_formatter.h"

#include "json_text.h"
#include "record_json.h"

namespace mediaprobe {

std::string JsonFormatter::Format(const Record& record) {
  const std::string opening = empty_ ? "[\n  " : ",\n  ";
  empty_ = false;
  return opening + IndentedJson(ToJson(record), /*level=*/1);
}

std::string JsonFormatter::End() { return empty_ ? "[]\n" : "\n]\n"; }

std::string NdjsonFormatter::Format(const Record& record) { return CompactJson(ToJson(record)) + '\n'; }

}  // namespace mediaprobe
