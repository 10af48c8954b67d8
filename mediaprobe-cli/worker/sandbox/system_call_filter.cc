#include "worker/sandbox/system_call_filter.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <span>

#include "worker/sandbox/own_process_mark.h"
#include "worker_filters.h"

namespace mediaprobe::sandbox {
namespace {

template <std::size_t kSize>
bool Install(const sock_filter (&filter)[kSize]) {
  std::array<sock_filter, kSize> own;
  std::ranges::copy(filter, own.begin());
  // In a comparison with an argument; no other instruction has such a value.
  for (sock_filter& instruction : own) {
    if (instruction.k == kOwnProcessMark) instruction.k = static_cast<std::uint32_t>(getpid());
  }
  const sock_fprog program{static_cast<unsigned short>(kSize), own.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0U, &program) == 0;
}

}  // namespace

bool HasSystemCallFilter() {
  const std::uint32_t kill_process = SECCOMP_RET_KILL_PROCESS;
  return syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0U, &kill_process) == 0;
}

bool FilterSystemCalls(bool reaches_network) {
  return reaches_network ? Install(kNetworkFilter) : Install(kFilesFilter);
}

}  // namespace mediaprobe::sandbox
