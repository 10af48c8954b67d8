#include "faults/interposed.h"

#include <execinfo.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

// The C library's own allocator, under the names that it keeps for those who stand in front of it.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace faults {
namespace {

constexpr std::size_t kSlots = std::size_t{1} << 20;           // of blocks that are watched at once
constexpr std::uint64_t kMostTraced = std::uint64_t{1} << 16;  // allocations whose frames are kept
constexpr std::size_t kMostTold = 8;

struct Slot {
  void* block = nullptr;  // null: free; kFreed: was in use
  std::uint64_t number = 0;
};

// All of this is static, since it is used inside malloc.
thread_local bool is_armed = false;
Fault armed_fault;
std::uint64_t first_failure;
bool fails_on;
bool traces;
std::uint64_t events;
std::uint64_t blocks_made;
std::size_t blocks_left;
Slot slots[kSlots];
Frames traced[kMostTraced];
Frames failed_at;
char freed_mark;

std::size_t SlotOf(const void* block) {
  return static_cast<std::size_t>((reinterpret_cast<std::uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15U >> 44);
}

/// Takes part in the count only while nothing of our own runs.
class Pause {
 public:
  Pause() { is_armed = false; }
  ~Pause() { is_armed = true; }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;
};

bool IsReading(Fault fault) { return fault != Fault::kNoMemory; }

/// Counts one event, and tells whether it is to fail.
bool Fails(bool is_read) {
  if (!is_armed || IsReading(armed_fault) != is_read) return false;
  ++events;
  if (first_failure == 0 || events < first_failure || (events > first_failure && !fails_on)) return false;
  if (events == first_failure) {
    const Pause pause;
    TakeFrames(failed_at);
  }
  return true;
}

void* Watch(void* block) {
  if (!is_armed || block == nullptr) return block;
  std::size_t at = SlotOf(block);
  while (slots[at].block != nullptr && slots[at].block != &freed_mark) at = (at + 1) % kSlots;
  slots[at] = {block, blocks_made};
  if (traces && blocks_made < kMostTraced) {
    const Pause pause;
    TakeFrames(traced[blocks_made]);
  }
  ++blocks_made;
  ++blocks_left;
  return block;
}

void Forget(void* block) {
  if (!is_armed || block == nullptr) return;
  for (std::size_t at = SlotOf(block); slots[at].block != nullptr; at = (at + 1) % kSlots) {
    if (slots[at].block != block) continue;
    slots[at].block = &freed_mark;
    --blocks_left;
    return;
  }
}

void* NoMemory() {
  errno = ENOMEM;
  return nullptr;
}

/// What a read gives; `read` is asked for as many bytes as it may give.
template <typename Read>
ssize_t FaultyRead(std::size_t size, Read read) {
  if (!Fails(/*is_read=*/true)) return read(size);
  switch (armed_fault) {
    case Fault::kShortRead:
      return read(std::max<std::size_t>(size / 2, 1));
    case Fault::kEndOfFile:
      return 0;
    case Fault::kInterrupted:
      errno = EINTR;
      return -1;
    default:
      errno = EIO;
      return -1;
  }
}

}  // namespace

void Arm(Fault fault, std::uint64_t first, bool all_after, bool traces_blocks) {
  armed_fault = fault;
  first_failure = first;
  fails_on = all_after;
  traces = traces_blocks;
  is_armed = true;
}

std::uint64_t Disarm() {
  is_armed = false;
  return events;
}

void WatchAgain() {
  first_failure = 0;
  is_armed = true;
}

const Frames& FailedAt() { return failed_at; }
std::size_t BlocksLeft() { return blocks_left; }

std::vector<Frames> WhereBlocksLeftWere() {
  std::vector<Frames> places;
  for (const Slot& slot : slots) {
    if (slot.block == nullptr || slot.block == &freed_mark || slot.number >= kMostTraced) continue;
    places.push_back(traced[slot.number]);
    if (places.size() == kMostTold) break;
  }
  return places;
}

void TakeFrames(Frames& frames) {
  void* addresses[std::tuple_size_v<Frames>];
  const int count = backtrace(addresses, static_cast<int>(frames.size()));
  frames = {};
  for (int i = 0; i < count; ++i) {
    frames[static_cast<std::size_t>(i)] = reinterpret_cast<std::uintptr_t>(addresses[i]);
  }
}

void PrepareFrames() {
  Frames frames;
  TakeFrames(frames);
}

}  // namespace faults

// Seen by all libraries of the process.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) {
  if (faults::Fails(/*is_read=*/false)) return faults::NoMemory();
  return faults::Watch(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
  if (faults::Fails(/*is_read=*/false)) return faults::NoMemory();
  return faults::Watch(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  if (faults::Fails(/*is_read=*/false)) return faults::NoMemory();
  faults::Forget(block);
  return faults::Watch(__libc_realloc(block, size));
}

void* memalign(std::size_t alignment, std::size_t size) {
  if (faults::Fails(/*is_read=*/false)) return faults::NoMemory();
  return faults::Watch(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** out, std::size_t alignment, std::size_t size) {
  void* block = memalign(alignment, size);
  if (block == nullptr) return ENOMEM;
  *out = block;
  return 0;
}

void free(void* block) {
  faults::Forget(block);
  __libc_free(block);
}

ssize_t read(int descriptor, void* buffer, std::size_t size) {
  return faults::FaultyRead(size, [&](std::size_t most) { return syscall(SYS_read, descriptor, buffer, most); });
}

ssize_t pread(int descriptor, void* buffer, std::size_t size, off_t offset) {
  return faults::FaultyRead(size,
                            [&](std::size_t most) { return syscall(SYS_pread64, descriptor, buffer, most, offset); });
}

ssize_t pread64(int descriptor, void* buffer, std::size_t size, off64_t offset) {
  return pread(descriptor, buffer, size, offset);
}
}
#pragma GCC visibility pop
