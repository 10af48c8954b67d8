#include "inputs/streamed_inputs.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace mediaprobe {
namespace {

constexpr std::size_t kReadSize = 64 * 1024;
/// No name is longer; of one that is, so much is kept that it fails under a name that can be recognised.
constexpr std::size_t kLongestName = std::size_t{1} << 20;

bool IsReadable(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return poll(&watched, 1, /*timeout=*/0) > 0;
}

}  // namespace

StreamedInputs::StreamedInputs(int descriptor, char separator) : descriptor_(descriptor), separator_(separator) {}

InputSource::State StreamedInputs::Next(Input* input) {
  while (true) {
    if (TakeName(input)) return State::kInput;
    if (ended_) return State::kEnd;
    if (!IsReadable(descriptor_)) return State::kWait;
    read_.erase(0, start_);
    searched_ -= start_;
    start_ = 0;
    const std::size_t before = read_.size();
    read_.resize(before + kReadSize);
    const ssize_t got = read(descriptor_, read_.data() + before, kReadSize);
    read_.resize(before + static_cast<std::size_t>(got > 0 ? got : 0));
    if (got < 0 && errno != EINTR && errno != EAGAIN) error_ = errno;
    ended_ = got == 0 || error_ != 0;
  }
}

bool StreamedInputs::TakeName(Input* input) {
  while (start_ < read_.size()) {
    std::size_t end = read_.find(separator_, searched_);
    if (end == std::string::npos) {
      searched_ = read_.size();
      if (!ended_ && searched_ - start_ < kLongestName) return false;
      end = read_.size();
    }
    *input = {.name = read_.substr(start_, end - start_)};
    start_ = searched_ = std::min(end + 1, read_.size());
    // Most likely a list of names that end with it, all of them in one line: one is enough to fail by.
    if (const std::size_t nul = input->name.find('\0'); nul != std::string::npos) {
      input->name.resize(nul + 1);
      input->failure = "the name holds a NUL (is -0 missing?)";
    }
    if (!input->name.empty()) return true;
  }
  return false;
}

}  // namespace mediaprobe
