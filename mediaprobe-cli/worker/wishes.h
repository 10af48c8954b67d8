#pragma once

#include <unistd.h>

namespace mediaprobe {

/// A worker that lacks what its input calls for leaves with this status and the number of its wish added. The parent
/// grants it, or not, and has the input answered by another worker.
inline constexpr int kFirstWishStatus = 100;
inline constexpr int kMostWishes = 100;

/// For a process that may read the input although those that answer several may not.
inline constexpr int kWishForOwnProcess = 0;
/// The first of those that Provisions knows.
inline constexpr int kFirstProvisionWish = 1;

[[noreturn]] inline void LeaveWithWish(int wish) { _exit(kFirstWishStatus + wish); }

}  // namespace mediaprobe
