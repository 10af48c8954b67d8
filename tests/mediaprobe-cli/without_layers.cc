// Runs a program as on a kernel that lacks what processes are confined with:
//
//   without_layers LAYERS PROGRAM ARGUMENT...
//
// LAYERS is "Landlock", "seccomp", both with "+" between them, or "-" for none. Without a program it prints, one a
// line, what is missing then, which is more than was asked for where the kernel itself lacks something.

#include <seccomp.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "worker/confinement.h"

namespace {

constexpr int kFailed = 99;

/// False where the kernel has no filters to take anything away with.
bool TakeAway(const std::string& layers) {
  const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
  if (layers.find("Landlock") != std::string::npos) {
    seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(landlock_create_ruleset), 0);
  }
  const bool is_loaded = seccomp_load(filter) == 0;
  seccomp_release(filter);
  if (!is_loaded || layers.find("seccomp") == std::string::npos) return is_loaded;
  // By itself, since it forbids to be loaded.
  const scmp_filter_ctx last = seccomp_init(SCMP_ACT_ALLOW);
  seccomp_rule_add(last, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(seccomp), 0);
  seccomp_load(last);
  seccomp_release(last);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return kFailed;
  TakeAway(argv[1]);
  if (argc == 2) return std::puts(mediaprobe::MissingLayers().c_str()) < 0 ? kFailed : 0;
  execv(argv[2], argv + 2);
  return kFailed;
}
