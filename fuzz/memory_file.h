#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/check.h"

namespace fuzz {

/// The fuzzer's bytes as a file without a name on any disk.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size) : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
    FUZZ_CHECK(write(descriptor_, data, size) == static_cast<ssize_t>(size));
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace fuzz
