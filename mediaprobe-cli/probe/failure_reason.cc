#include "probe/failure_reason.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <system_error>

#include "media_server/refusals.h"
#include "probe/picture_sequence.h"

namespace mediaprobe {
namespace {

constexpr char kEmptyFile[] = "empty file";

/// Empty when nothing about the file itself is in the way.
std::string FileReason(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return ReasonOf(errno);
  if (S_ISDIR(status.st_mode)) return access(path.c_str(), R_OK | X_OK) == 0 ? "is a folder" : ReasonOf(errno);
  if (!S_ISREG(status.st_mode)) return "not a regular file";
  if (access(path.c_str(), R_OK) != 0) return ReasonOf(errno);
  if (status.st_size == 0) return kEmptyFile;
  return {};
}

}  // namespace

std::string ReasonOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "no such file";
    case EACCES:
    case EPERM:
      return media_server::refusals::kNoPermission;
    default:
      return std::generic_category().message(error);
  }
}

bool IsNothingToRead(std::string_view reason) {
  namespace refusals = media_server::refusals;
  constexpr std::string_view kReasons[] = {
      kEmptyFile, kNotImage, kNotSvg, refusals::kNotMedia, refusals::kStillImage, refusals::kSvg};
  return std::ranges::find(kReasons, reason) != std::end(kReasons);
}

std::string FailureReason(const InputPath& input, const std::string& service_reason, std::string_view not_its_kind) {
  if (!input.local_path) return service_reason.empty() ? "cannot be opened" : service_reason;
  const std::string path = input.is_sequence ? FirstFrame(*input.local_path) : *input.local_path;
  std::string reason = FileReason(path);
  if (reason.empty()) reason = service_reason.empty() ? not_its_kind : service_reason;
  return input.is_sequence ? reason + ": " + path : reason;
}

}  // namespace mediaprobe
