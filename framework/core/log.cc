#include "core/log.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>

#include "core/error_text.h"
#include "log_writer.h"

namespace {

constinit std::atomic<int> threshold{kCoreLogWarning};

/// Never destroyed: lines may still come from other libraries' static destructors.
core::LogWriter& Writer() {
  static auto& writer = *new core::LogWriter;
  return writer;
}

std::string Format(const char* format, std::va_list values) {
  std::va_list again;
  va_copy(again, values);
  // Room for nearly every line, so that most are formatted once.
  std::string text(256, '\0');
  int length = std::vsnprintf(text.data(), text.size() + 1, format, values);
  if (length > 0 && static_cast<std::size_t>(length) > text.size()) {
    text.resize(static_cast<std::size_t>(length));
    length = std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  // A wide text without a narrow form, say. The format alone still tells where the line came from.
  if (length < 0) return format;
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

void CoreLogPrint(const char* tag, int level, const char* format, ...) {
  // kCoreLogOff as a threshold drops every level, made-up ones included.
  if (std::min<int>(level, kCoreLogFatal) < threshold.load(std::memory_order_relaxed)) return;

  std::va_list values;
  va_start(values, format);
  try {
    Writer().Write(tag ? tag : "", level, format ? Format(format, values) : std::string());
  } catch (...) {
    // A line that cannot be written is lost; what it would have told about goes on.
  }
  va_end(values);
}

void CoreLogSetLevel(int level) { threshold.store(level, std::memory_order_relaxed); }

bool CoreLogSetFolder(const char* folder) {
  try {
    Writer().SetFolder(folder ? folder : "");
    return true;
  } catch (...) {
    return false;
  }
}

bool CoreLogSetFile(const char* path) {
  try {
    Writer().SetFile(path ? path : "");
    return true;
  } catch (const std::exception& failure) {
    CoreSetErrorText(failure.what());
    return false;
  }
}

void CoreLogProtect(const char* text) {
  if (!text || !*text) return;
  try {
    Writer().Protect(text);
  } catch (...) {
    // Out of memory: better no more lines than one that shows the text.
    CoreLogSetLevel(kCoreLogOff);
  }
}
