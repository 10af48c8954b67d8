#include "worker/confinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>

#include "probe/input_path.h"

namespace mediaprobe {
namespace {

constexpr std::uint64_t kReadFile = LANDLOCK_ACCESS_FS_READ_FILE;
/// Everything that the first version of Landlock knows: all bits up to the one that makes symbolic links.
constexpr std::uint64_t kEverything = 2 * LANDLOCK_ACCESS_FS_MAKE_SYM - 1;

/// Libraries, the time zone, OpenSSL's settings.
constexpr const char* kOfTheSystem[] = {"/lib",
                                        "/lib64",
                                        "/usr/lib",
                                        "/usr/lib64",
                                        "/etc/ld.so.cache",
                                        "/etc/localtime",
                                        "/usr/share/zoneinfo",
                                        "/etc/ssl/openssl.cnf"};
/// Names of hosts, and the authorities that they are checked against.
constexpr const char* kOfTheNetwork[] = {"/etc", "/run/systemd/resolve", "/usr/share/ca-certificates",
                                         "/usr/local/share"};

class Ruleset {
 public:
  Ruleset() {
    const landlock_ruleset_attr attributes{.handled_access_fs = kEverything};
    descriptor_ = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0U));
  }
  ~Ruleset() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Ruleset(const Ruleset&) = delete;
  Ruleset& operator=(const Ruleset&) = delete;

  /// What does not exist needs no rule.
  void AllowReading(const std::string& path) {
    const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
    if (place < 0) return;
    const landlock_path_beneath_attr rule{.allowed_access = kReadFile, .parent_fd = place};
    syscall(SYS_landlock_add_rule, descriptor_, LANDLOCK_RULE_PATH_BENEATH, &rule, 0U);
    close(place);
  }

  bool Enforce() {
    return descriptor_ >= 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           syscall(SYS_landlock_restrict_self, descriptor_, 0U) == 0;
  }

 private:
  int descriptor_;
};

}  // namespace

bool CanConfine() { return syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1; }

bool ConfineTo(const Input& input, const std::string& library_folder) {
  Ruleset rules;
  rules.AllowReading(library_folder);
  for (const char* path : kOfTheSystem) rules.AllowReading(path);
  const InputPath path = ToInputPath(input.name);
  if (!path.local_path) {
    for (const char* place : kOfTheNetwork) rules.AllowReading(place);
  } else if (path.is_sequence) {
    rules.AllowReading(std::filesystem::path(*path.local_path).parent_path());
  } else {
    rules.AllowReading(*path.local_path);
  }
  return rules.Enforce();
}

}  // namespace mediaprobe
