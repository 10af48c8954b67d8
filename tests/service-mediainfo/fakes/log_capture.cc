#include "fakes/log_capture.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <string_view>
#include <utility>

#include "core/log.h"

namespace {

std::vector<fakes::LogLine>& Lines() {
  static std::vector<fakes::LogLine> lines;
  return lines;
}

std::optional<int> level_set;

enum class Values { kFitting, kThreeNumbers, kFormatNameNumber };

Values ValuesOf(std::string_view tag, std::string_view format) {
  if (format.starts_with("stream index")) return Values::kThreeNumbers;
  if (tag == "service") return Values::kFormatNameNumber;
  return Values::kFitting;
}

std::string NextNumber(va_list& values) { return std::to_string(va_arg(values, int)); }
std::string NextText(va_list& values) { return va_arg(values, const char*); }

}  // namespace

namespace fakes {

std::vector<LogLine> TakeLog() { return std::exchange(Lines(), {}); }
std::optional<int> TakeLogLevel() { return std::exchange(level_set, std::nullopt); }

}  // namespace fakes

// These stand in front of the core library's, also for the module.

void CoreLogSetLevel(int level) { level_set = level; }

void CoreLogPrint(const char* tag, int level, const char* format, ...) {
  std::string text;
  va_list values;
  va_start(values, format);
  switch (ValuesOf(tag, format)) {
    case Values::kThreeNumbers:
      text = NextNumber(values);
      text += '|' + NextNumber(values);
      text += '|' + NextNumber(values);
      break;
    case Values::kFormatNameNumber:
      text = NextText(values);
      text += '|' + NextText(values);
      text += '|' + NextNumber(values);
      break;
    case Values::kFitting: {
      std::array<char, 4096> line{};
      std::vsnprintf(line.data(), line.size(), format, values);
      text = line.data();
      break;
    }
  }
  va_end(values);
  Lines().push_back({tag, level, format, text});
}
