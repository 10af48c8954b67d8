#pragma once

#include <cstdint>
#include <string>

namespace mediaprobe::sandbox {

/// Whether the kernel confines a process to files: Landlock, Linux 5.13 and later, unless it was left out.
bool HasFileAccess();

/// What a process may still open, which is nothing at first, for reading. Nothing can be written, made, removed, listed
/// or, but with `kEverythingAndRunning`, run; where the kernel knows of it, no TCP port can be taken or, but with
/// `kConnects`, connected to, and no signal reaches a process outside.
class FileAccess {
 public:
  enum class Reading { kNamedPlaces, kEverything, kEverythingAndRunning };
  enum class Network { kNone, kConnects };
  FileAccess(Reading reading, Network network);
  ~FileAccess();
  FileAccess(const FileAccess&) = delete;
  FileAccess& operator=(const FileAccess&) = delete;

  /// Adds a file, or a folder with everything in it; links are followed now. False when there is no such thing.
  bool AllowReading(const std::string& path);

  /// Adds a file that may be written to. False when there is no such thing.
  bool AllowWriting(const std::string& path);

  /// Confines this process to that. Cannot be undone. False when the kernel refuses.
  bool Enforce() const;

 private:
  bool Allow(const std::string& path, std::uint64_t access);

  int ruleset_;
};

}  // namespace mediaprobe::sandbox
