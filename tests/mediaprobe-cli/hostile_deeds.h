#pragma once

#include <sys/types.h>

#include <span>
#include <string>

namespace mediaprobe::testing {

/// Where a process that an input has taken over does what it must not.
struct Scene {
  std::string folder;  ///< in which it makes and removes things; holds an empty folder "empty" and a file "other"
  std::string canary;  ///< a file that it was not given
  pid_t victim;        ///< another process of the same user
};

/// Where neither kind of rules stops it, something else always does.
struct HostileDeed {
  const char* name;
  bool (*succeeds)(const Scene& scene);
  bool file_rules_stop_it;  ///< Landlock does
  bool call_rules_stop_it;  ///< seccomp does
  bool anyone_can;          ///< where nothing stops it, every user's process succeeds
};

std::span<const HostileDeed> HostileDeeds();

}  // namespace mediaprobe::testing
