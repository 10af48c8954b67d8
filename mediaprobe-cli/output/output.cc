#include "output/output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

namespace mediaprobe {
namespace {

/// What a new file's permissions would be.
mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool IsPipe(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

/// The file that a path leads to through links, whether it is there or not: what is put in its place is not to take
/// that of a link.
std::string WithoutLinks(const std::string& path) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  std::filesystem::path file = path;
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code is_no_link;
    const std::filesystem::path target = std::filesystem::read_symlink(file, is_no_link);
    if (is_no_link) break;
    file = file.parent_path() / target;
  }
  return file.native();
}

/// Beside that file, under a name that is not too long where the file's own is as long as may be.
std::string UnfinishedName(const std::string& file) {
  return file.substr(0, file.rfind('/') + 1) + ".mediaprobe-XXXXXX";
}

}  // namespace

Output::Output(OutputFrame frame) : Output(std::move(frame), STDOUT_FILENO, {}, {}) {}

Output::Output(OutputFrame frame, int descriptor, std::string path, std::string unfinished_path)
    : frame_(std::move(frame)),
      descriptor_(descriptor),
      path_(std::move(path)),
      unfinished_path_(std::move(unfinished_path)),
      is_terminal_(isatty(descriptor) != 0),
      is_pipe_(IsPipe(descriptor)) {}

std::unique_ptr<Output> Output::ToFile(OutputFrame frame, const std::string& path) {
  struct stat status {};
  const bool is_there = stat(path.c_str(), &status) == 0;
  if (!is_there && errno != ENOENT) return nullptr;
  if (is_there && !S_ISREG(status.st_mode)) {
    // A device or a pipe cannot be put in place at the end.
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    return std::unique_ptr<Output>(new Output(std::move(frame), descriptor, path, {}));
  }
  const std::string real_path = WithoutLinks(path);
  std::string unfinished = UnfinishedName(real_path);
  const int descriptor = mkostemp(unfinished.data(), O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  fchmod(descriptor, is_there ? status.st_mode & 0777 : NewFileMode());
  return std::unique_ptr<Output>(new Output(std::move(frame), descriptor, real_path, std::move(unfinished)));
}

Output::~Output() {
  if (path_.empty()) return;
  close(descriptor_);
  if (!unfinished_path_.empty()) unlink(unfinished_path_.c_str());
}

bool Output::Add(std::string_view text) {
  if (text.empty()) return true;
  const bool is_first = !std::exchange(has_records_, true);
  return Write(is_first ? frame_.begin : frame_.between) && Write(text);
}

bool Output::End() {
  if (!has_records_ && !Write(frame_.begin)) return false;
  if (!Write(frame_.end)) return false;
  if (unfinished_path_.empty()) return true;
  if (fsync(descriptor_) != 0 || rename(unfinished_path_.c_str(), path_.c_str()) != 0) {
    error_ = errno;
    return false;
  }
  unfinished_path_.clear();
  return true;
}

bool Output::Write(std::string_view text) {
  if (!text.empty()) is_line_open_ = !text.ends_with('\n');
  const bool has_reader = is_pipe_ || is_terminal_;
  // There is room for so much where there is any.
  const std::size_t most = has_reader ? PIPE_BUF : text.size();
  while (error_ == 0 && !text.empty()) {
    if (has_reader && !WaitForRoom()) {
      error_ = ETIMEDOUT;
      break;
    }
    const ssize_t written = write(descriptor_, text.data(), std::min(text.size(), most));
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR && errno != EAGAIN) {
      error_ = errno;
    }
  }
  return error_ == 0;
}

bool Output::WaitForRoom() const {
  constexpr timespec kPatience{.tv_sec = 5, .tv_nsec = 0};
  pollfd watched{descriptor_, POLLOUT, 0};
  while (true) {
    // None may come between the look and the wait.
    if (interrupts_ != nullptr) interrupts_->HoldBack();
    const bool is_hurried = interrupts_ != nullptr && interrupts_->happened();
    const int ready = ppoll(&watched, 1, is_hurried ? &kPatience : nullptr,
                            interrupts_ != nullptr ? &interrupts_->wait_mask() : nullptr);
    if (interrupts_ != nullptr) interrupts_->LetThrough();
    if (ready >= 0 || errno != EINTR) return ready != 0;
  }
}

}  // namespace mediaprobe
