#include "worker/confinement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <utility>

#include "media_server/refusals.h"
#include "probe/input_path.h"
#include "probe/picture_sequence.h"
#include "worker/sandbox/process.h"
#include "worker/sandbox/system_call_filter.h"

namespace mediaprobe {
namespace {

using sandbox::FileAccess;

/// Names of hosts, and the authorities that they are checked against, as the distributions have them.
constexpr const char* kPlacesOfTheNetwork[] = {"/etc/resolv.conf",
                                               "/etc/hosts",
                                               "/etc/host.conf",
                                               "/etc/nsswitch.conf",
                                               "/etc/gai.conf",
                                               "/etc/services",
                                               "/etc/ssl/openssl.cnf",
                                               "/usr/lib/ssl/cert.pem",
                                               "/etc/ssl/cert.pem",
                                               "/etc/ssl/certs",
                                               "/etc/pki/tls/certs",
                                               "/etc/pki/ca-trust/extracted",
                                               "/usr/share/ca-certificates",
                                               "/usr/local/share/ca-certificates"};
/// Where the user has other authorities: in a file, and in folders with colons between them.
constexpr char kFileOfAuthorities[] = "SSL_CERT_FILE";
constexpr char kFoldersOfAuthorities[] = "SSL_CERT_DIR";
constexpr const char* kVariablesOfTheNetwork[] = {kFileOfAuthorities, kFoldersOfAuthorities};

/// What sanitizers find they write on standard error.
#if defined(MEDIAPROBE_SANITIZED)
constexpr bool kSanitizersReport = true;
#else
constexpr bool kSanitizersReport = false;
#endif

void AllowNetwork(FileAccess& files) {
  for (const char* place : kPlacesOfTheNetwork) files.AllowReading(place);
  if (const char* file = std::getenv(kFileOfAuthorities)) files.AllowReading(file);
  if (const char* list = std::getenv(kFoldersOfAuthorities)) {
    std::istringstream folders(list);
    for (std::string folder; std::getline(folders, folder, ':');) files.AllowReading(folder);
  }
}

/// Where the services look for a file that does not exist: "a.mp4" for "a.MP4", and the other way round.
std::string WithOtherExtensionCase(std::string path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return path;
  for (std::size_t at = dot + 1; at < path.size(); ++at) {
    const char letter = path[at];
    const bool is_letter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
    if (is_letter) path[at] = static_cast<char>(letter ^ ('a' ^ 'A'));
  }
  return path;
}

void AllowInput(FileAccess& files, const std::string& name, bool reads_all_frames) {
  const InputPath path = ToInputPath(name);
  if (!path.local_path) return;
  if (!path.is_sequence) {
    if (!files.AllowReading(*path.local_path)) files.AllowReading(WithOtherExtensionCase(*path.local_path));
  } else if (reads_all_frames) {
    // The frames may be more than a kernel has memory for rules.
    files.AllowReading(std::filesystem::path(*path.local_path).parent_path());
  } else {
    files.AllowReading(FirstFrame(*path.local_path));
  }
}

}  // namespace

std::string MissingLayers() {
  const bool has_files = sandbox::HasFileAccess();
  const bool has_calls = sandbox::HasSystemCallFilter();
  if (has_files && has_calls) return {};
  if (has_files) return "seccomp";
  return has_calls ? "Landlock" : "Landlock and seccomp";
}

Confinement::Confinement(Settings settings)
    : settings_(std::move(settings)),
      has_files_(sandbox::HasFileAccess()),
      has_calls_(sandbox::HasSystemCallFilter()),
      files_(settings_.places ? FileAccess::Reading::kNamedPlaces : FileAccess::Reading::kEverything,
             FileAccess::Network::kNone) {
  if (!settings_.places) return;
  for (const std::string& place : *settings_.places) AllowInput(files_, place, settings_.reads_all_frames);
}

bool Confinement::Enter(const Input& input, Company company, std::span<const int> kept) const {
  const bool reaches_network = IsNetworkUrl(input.name);
  sandbox::DetachStandardStreams(/*keeps_error=*/settings_.tells_on_standard_error || kSanitizersReport);
  if (has_files_ && !EnforceFiles(input, company)) return false;
  sandbox::KeepDescriptors(kept);
  sandbox::KeepVariables(reaches_network ? std::span<const char* const>(kVariablesOfTheNetwork)
                                         : std::span<const char* const>());
  sandbox::ForbidInspection();
  return !has_calls_ || sandbox::FilterSystemCalls(reaches_network);
}

bool Confinement::EnforceFiles(const Input& input, Company company) const {
  if (company == Company::kFiles) return files_.Enforce();
  const bool reaches_network = IsNetworkUrl(input.name);
  FileAccess files(FileAccess::Reading::kNamedPlaces,
                   reaches_network ? FileAccess::Network::kConnects : FileAccess::Network::kNone);
  if (reaches_network) AllowNetwork(files);
  AllowInput(files, input.name, settings_.reads_all_frames);
  return files.Enforce();
}

bool GiveUpChanges() {
  FileAccess files(FileAccess::Reading::kEverythingAndRunning, FileAccess::Network::kNone);
  // Where workers have their standard streams lead to.
  files.AllowWriting("/dev/null");
  if (isatty(STDERR_FILENO)) files.AllowWriting("/proc/self/fd/2");
  return files.Enforce();
}

bool IsOutOfReach(const std::string& input, std::string_view reason) {
  const InputPath path = ToInputPath(input);
  if (!path.local_path || path.is_sequence) return false;
  // Landlock keeps from opening, not from asking. What it kept from can be gone by now.
  struct stat status {};
  if (stat(path.local_path->c_str(), &status) != 0) {
    return errno == ENOENT && reason == media_server::refusals::kNoPermission;
  }
  if (!S_ISREG(status.st_mode) || access(path.local_path->c_str(), R_OK) != 0) return false;
  const int file = open(path.local_path->c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file >= 0) close(file);
  return file < 0 && errno == EACCES;
}

}  // namespace mediaprobe
