#include "worker/sandbox/file_access.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace mediaprobe::sandbox {
namespace {

/// As the kernel has it (Documentation/userspace-api/landlock.rst), which headers of older systems do not know whole.
struct RulesetAttributes {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scopes;
};
constexpr std::uint64_t kReading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kRunning = LANDLOCK_ACCESS_FS_EXECUTE;
constexpr std::uint64_t kBindTcp = 1U << 0;
constexpr std::uint64_t kConnectTcp = 1U << 1;
constexpr std::uint64_t kAbstractSocketsAndSignals = (1U << 0) | (1U << 1);

/// What each version of Landlock knows of files: so many bits from the first one on.
constexpr int kFileBits[] = {13, 14, 15, 15, 16};
constexpr int kNetworkVersion = 4;
constexpr int kScopesVersion = 6;

int Version() {
  return static_cast<int>(
      syscall(SYS_landlock_create_ruleset, nullptr, std::size_t{0}, LANDLOCK_CREATE_RULESET_VERSION));
}

int MakeRuleset(FileAccess::Reading reading, FileAccess::Network network) {
  const int version = Version();
  if (version < 1) return -1;
  constexpr int kKnownVersions = static_cast<int>(std::size(kFileBits));
  const int bits = kFileBits[(version < kKnownVersions ? version : kKnownVersions) - 1];
  RulesetAttributes attributes{(std::uint64_t{1} << bits) - 1, 0, 0};
  if (reading != FileAccess::Reading::kNamedPlaces) attributes.files &= ~kReading;
  if (reading == FileAccess::Reading::kEverythingAndRunning) attributes.files &= ~kRunning;
  std::size_t size = sizeof attributes.files;
  if (version >= kNetworkVersion) {
    attributes.network = network == FileAccess::Network::kNone ? kBindTcp | kConnectTcp : kBindTcp;
    size = offsetof(RulesetAttributes, scopes);
  }
  if (version >= kScopesVersion) {
    attributes.scopes = kAbstractSocketsAndSignals;
    size = sizeof attributes;
  }
  return static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, size, 0U));
}

}  // namespace

bool HasFileAccess() { return Version() >= 1; }

FileAccess::FileAccess(Reading reading, Network network) : ruleset_(MakeRuleset(reading, network)) {}

FileAccess::~FileAccess() {
  if (ruleset_ >= 0) close(ruleset_);
}

bool FileAccess::AllowReading(const std::string& path) { return Allow(path, LANDLOCK_ACCESS_FS_READ_FILE); }

bool FileAccess::AllowWriting(const std::string& path) { return Allow(path, LANDLOCK_ACCESS_FS_WRITE_FILE); }

bool FileAccess::Allow(const std::string& path, std::uint64_t access) {
  const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
  if (place < 0) return false;
  const landlock_path_beneath_attr rule{.allowed_access = access, .parent_fd = place};
  syscall(SYS_landlock_add_rule, ruleset_, LANDLOCK_RULE_PATH_BENEATH, &rule, 0U);
  close(place);
  return true;
}

bool FileAccess::Enforce() const {
  return ruleset_ >= 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         syscall(SYS_landlock_restrict_self, ruleset_, 0U) == 0;
}

}  // namespace mediaprobe::sandbox
