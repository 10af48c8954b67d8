#pragma once

#include <cstdio>
#include <memory>
#include <mutex>

#include "record_formatter.h"

namespace mediaprobe {

/// The records as they are written to a file, whole ones only. Safe to use from several threads.
class Output {
 public:
  /// Borrows `file`.
  Output(std::unique_ptr<RecordFormatter> formatter, std::FILE* file);

  /// Nothing is added after the end.
  void Add(const Record& record);
  void Flush();
  /// Writes what closes the output, once. False, with errno, when something could not be written. Gives up on an output
  /// that is busy with a record for more than a second, since nobody reads it.
  bool End();

 private:
  std::timed_mutex mutex_;
  std::unique_ptr<RecordFormatter> formatter_;
  std::FILE* file_;
  bool ended_ = false;
};

}  // namespace mediaprobe
