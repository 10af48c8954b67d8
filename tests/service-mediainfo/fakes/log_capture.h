#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace fakes {

/// One call of CoreLogPrint.
struct LogLine {
  std::string tag;
  int level;
  std::string format;
  /// The format filled in. For the two calls whose values do not fit their format: the values, joined by '|'.
  std::string text;

  friend bool operator==(const LogLine&, const LogLine&) = default;
  friend std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.tag << ' ' << line.level << " \"" << line.format << "\": " << line.text;
  }
};

/// The lines logged since the last call.
std::vector<LogLine> TakeLog();
/// The level that was set last; empty when none was.
std::optional<int> TakeLogLevel();

}  // namespace fakes
