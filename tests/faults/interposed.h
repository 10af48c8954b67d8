#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Functions of the system that stand in front of the C library's, for the program and every library in it: the
/// allocator, and what reads files. They fail where they are told to, in the thread that told them.
namespace faults {

enum class Fault {
  kNoMemory,     ///< an allocation fails
  kReadError,    ///< a read fails with EIO
  kShortRead,    ///< a read gives half of what it could
  kInterrupted,  ///< a read fails with EINTR
  kEndOfFile,    ///< a read finds the end of the file where there is more
};

/// Code addresses of the calls that led to some place, the innermost first; zeros behind the outermost.
using Frames = std::array<std::uintptr_t, 24>;

/// Begins to count the allocations or reads of this thread and lets the `first`-th of them fail, counted from 1, and
/// with `all_after` those behind it. `first` 0 lets none fail. With `traces_blocks` each allocation remembers its
/// frames. Once in a process.
void Arm(Fault fault, std::uint64_t first, bool all_after, bool traces_blocks);
/// Ends that. How many there were.
std::uint64_t Disarm();
/// After Disarm: blocks are watched again, so that those that are freed now do not count as left.
void WatchAgain();

/// Where the first failure was.
const Frames& FailedAt();

/// Blocks allocated since Arm and not freed since.
std::size_t BlocksLeft();
/// Where they were allocated, when that was asked for: at most 8.
std::vector<Frames> WhereBlocksLeftWere();

/// The frames of whoever calls this, written where no memory may be had.
void TakeFrames(Frames& frames);
/// Loads what taking frames needs, so that it needs no memory later.
void PrepareFrames();

}  // namespace faults
