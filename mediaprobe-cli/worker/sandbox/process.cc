#include "worker/sandbox/process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace mediaprobe::sandbox {
namespace {

constexpr char kZone[] = "TZ";
/// What the C library takes for the zone where none is named. Named, it is not asked anew for each date.
constexpr char kZoneOfTheSystem[] = ":/etc/localtime";

void CloseRange(unsigned first, unsigned last) {
  if (first > last || syscall(SYS_close_range, first, last, 0U) == 0) return;
  // Linux before 5.9.
  rlimit most{};
  getrlimit(RLIMIT_NOFILE, &most);
  for (unsigned descriptor = first; descriptor <= last && descriptor < most.rlim_cur; ++descriptor) {
    close(static_cast<int>(descriptor));
  }
}

void Replace(int standard, int descriptor) {
  if (descriptor < 0) {
    close(standard);
  } else {
    dup2(descriptor, standard);
  }
}

}  // namespace

void DetachStandardStreams(bool keeps_error) {
  const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO}) Replace(standard, nowhere);
  if (!keeps_error) {
    Replace(STDERR_FILENO, nowhere);
  } else if (isatty(STDERR_FILENO)) {
    // Shells hand one down that reads what is typed as well. A terminal of another user's cannot be opened.
    const int writer = open("/proc/self/fd/2", O_WRONLY | O_NOCTTY | O_CLOEXEC);
    Replace(STDERR_FILENO, writer < 0 ? nowhere : writer);
    if (writer > STDERR_FILENO) close(writer);
  }
  if (nowhere > STDERR_FILENO) close(nowhere);
}

void KeepDescriptors(std::span<const int> kept) {
  std::vector<int> sorted(kept.begin(), kept.end());
  std::ranges::sort(sorted);
  unsigned first = STDERR_FILENO + 1;
  for (const int descriptor : sorted) {
    if (descriptor < static_cast<int>(first)) continue;
    CloseRange(first, static_cast<unsigned>(descriptor) - 1);
    first = static_cast<unsigned>(descriptor) + 1;
  }
  CloseRange(first, ~0U);
}

void KeepVariables(std::span<const char* const> kept) {
  const char* zone = std::getenv(kZone);
  std::vector<std::string> saved{std::string(kZone) + '=' + (zone ? zone : kZoneOfTheSystem)};
  for (const char* name : kept) {
    if (const char* value = std::getenv(name)) saved.push_back(std::string(name) + '=' + value);
  }
  for (char** variable = environ; variable && *variable; ++variable) {
    explicit_bzero(*variable, std::strlen(*variable));
  }
  // Put in place as a whole: the C library's calls for single variables cost a fresh process a dozen pages.
  static std::vector<std::string> variables;
  static std::vector<char*> places;
  variables = std::move(saved);
  places.clear();
  for (std::string& variable : variables) places.push_back(variable.data());
  places.push_back(nullptr);
  environ = places.data();
}

void ForbidInspection() {
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

}  // namespace mediaprobe::sandbox
