#include "output.h"

#include <cerrno>
#include <chrono>
#include <string>
#include <utility>

namespace mediaprobe {
namespace {

constexpr std::chrono::seconds kPatience{1};

}  // namespace

Output::Output(std::unique_ptr<RecordFormatter> formatter, std::FILE* file)
    : formatter_(std::move(formatter)), file_(file) {}

void Output::Add(const Record& record) {
  const std::lock_guard lock(mutex_);
  if (ended_) return;
  const std::string text = formatter_->Format(record);
  std::fwrite(text.data(), 1, text.size(), file_);
}

void Output::Flush() {
  const std::lock_guard lock(mutex_);
  std::fflush(file_);
}

bool Output::End() {
  const std::unique_lock lock(mutex_, kPatience);
  if (!lock) {
    errno = EAGAIN;
    return false;
  }
  if (!std::exchange(ended_, true)) {
    const std::string text = formatter_->End();
    std::fwrite(text.data(), 1, text.size(), file_);
  }
  return std::fflush(file_) == 0 && !std::ferror(file_);
}

}  // namespace mediaprobe
