#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace spdlog::sinks {
class sink;
}

namespace core {

/// Where log lines end up. Safe to call from any thread; operations may throw what allocation and spdlog throw.
class LogWriter {
 public:
  LogWriter() = default;
  ~LogWriter();
  LogWriter(const LogWriter&) = delete;
  LogWriter& operator=(const LogWriter&) = delete;

  /// Masks what is protected and what URLs may keep secret, cleans and writes one line; `level` is a CoreLogLevel,
  /// values outside the range count as its ends.
  void Write(std::string_view tag, int level, std::string_view text);
  /// From now on lines go to "mediainfo.log" in `folder` too, behind what the file holds. Throws when the file cannot
  /// be opened; then, as with an empty `folder`, no file is open.
  void SetFolder(const std::string& folder);
  /// From now on lines go to the file `path`, behind what it holds, instead of standard error; an empty one brings
  /// standard error back. Throws, and changes nothing, when the file cannot be opened.
  void SetFile(const std::string& path);
  /// `text` must not be empty.
  void Protect(std::string text);

 private:
  std::mutex mutex_;
  std::vector<std::string> protected_texts_;
  std::shared_ptr<spdlog::sinks::sink> output_;  // standard error, or a file in its place
  std::shared_ptr<spdlog::sinks::sink> file_;    // in the log folder
};

}  // namespace core
