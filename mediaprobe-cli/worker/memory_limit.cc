#include "worker/memory_limit.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace mediaprobe {

rlim_t AddressSpaceWith(std::uint64_t memory_bytes) {
  std::array<char, 64> text{};  // the first number: pages of address space
  if (const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC); file >= 0) {
    if (read(file, text.data(), text.size() - 1) < 0) text[0] = '\0';
    close(file);
  }
  const rlim_t pages = std::strtoull(text.data(), nullptr, 10);
  rlimit limit{};
  getrlimit(RLIMIT_AS, &limit);
  return std::min(pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + memory_bytes, limit.rlim_max);
}

}  // namespace mediaprobe
