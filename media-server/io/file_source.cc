#include "media-server/io/file_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "media_server/refusals.h"

namespace media_server {
namespace {

class FileSource final : public IByteSource {
 public:
  FileSource(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;
  ~FileSource() override { close(descriptor_); }

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    if (offset >= size_) return 0;
    std::size_t done = 0;
    while (done < out.size()) {
      const ssize_t got = pread(descriptor_, out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) failure_ = strerrordesc_np(errno);
      if (got == 0 && offset + done < size_) failure_ = "became shorter while it was read";
      if (got <= 0) break;
      done += static_cast<std::size_t>(got);
    }
    return done;
  }

  const char* ReadFailure() const override { return failure_; }
  std::optional<std::uint64_t> Size() const override { return size_; }

  void WillRead(std::uint64_t offset, std::uint64_t size) override {
    posix_fadvise(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(size), POSIX_FADV_WILLNEED);
  }

 private:
  int descriptor_;
  std::uint64_t size_;
  const char* failure_ = nullptr;
};

const char* OpenFailure(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "no such file";
    case EACCES:
    case EPERM:
      return refusals::kNoPermission;
    case EMFILE:
    case ENFILE:
      return "too many open files";
    default:
      return "cannot be read";
  }
}

}  // namespace

std::unique_ptr<IByteSource> OpenFileSource(const char* path, std::string* reason) {
  // Opening a pipe or a device for reading may block until somebody writes.
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    *reason = OpenFailure(errno);
    return nullptr;
  }
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    *reason = S_ISDIR(status.st_mode) ? "is a folder" : "not a regular file";
    close(descriptor);
    return nullptr;
  }
  return std::make_unique<FileSource>(descriptor, static_cast<std::uint64_t>(status.st_size));
}

}  // namespace media_server
