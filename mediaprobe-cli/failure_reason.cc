#include "failure_reason.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace mediaprobe {
namespace {

std::string WordsFor(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "no such file";
    case EACCES:
    case EPERM:
      return "no permission";
    default:
      return std::generic_category().message(error);
  }
}

/// Empty when nothing about the file itself is in the way.
std::string FileReason(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return WordsFor(errno);
  if (S_ISDIR(status.st_mode)) return "is a folder";
  if (!S_ISREG(status.st_mode)) return "not a regular file";
  if (access(path.c_str(), R_OK) != 0) return WordsFor(errno);
  if (status.st_size == 0) return "empty file";
  return {};
}

}  // namespace

std::string FailureReason(const InputPath& input, const std::string& service_reason) {
  std::string reason = input.local_path ? FileReason(*input.local_path) : std::string{};
  if (!reason.empty()) return reason;
  if (!service_reason.empty()) return service_reason;
  return input.local_path ? "not a media file" : "cannot be opened";
}

}  // namespace mediaprobe
