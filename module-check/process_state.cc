#include "process_state.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>
#include <sstream>
#include <vector>

#include "fault.h"

namespace module_check::process_state {
namespace {

struct Mapping {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  std::string permissions;
  std::string path;
};

std::vector<Mapping> Mappings() {
  std::vector<Mapping> mappings;
  std::ifstream file("/proc/self/maps");
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    Mapping mapping;
    char dash = 0;
    std::string offset;
    std::string device;
    std::string inode;
    words >> std::hex >> mapping.begin >> dash >> mapping.end >> mapping.permissions >> offset >> device >> inode;
    words >> std::ws;
    std::getline(words, mapping.path);
    mappings.push_back(std::move(mapping));
  }
  return mappings;
}

std::string Hex(std::uintptr_t number) {
  std::ostringstream text;
  text << std::hex << number;
  return text.str();
}

std::string StatusLine(const std::string& name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name)) return line;
  }
  return {};
}

/// The lines of `text` that `other` has not, each behind `word`.
std::string LinesMissingIn(const std::string& other, const std::string& text, const std::string& word) {
  const std::string all = "\n" + other + "\n";
  std::string missing;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (all.find("\n" + line + "\n") != std::string::npos) continue;
    missing.append(word).append("\"").append(line).append("\"");
  }
  return missing;
}

}  // namespace

std::string SignalHandlers() {
  std::string handlers;
  for (int number = 1; number <= SIGRTMAX; ++number) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    const auto address = (action.sa_flags & SA_SIGINFO) != 0 ? reinterpret_cast<std::uintptr_t>(action.sa_sigaction)
                                                             : reinterpret_cast<std::uintptr_t>(action.sa_handler);
    if (address != 0) handlers += "signal " + std::to_string(number) + " at " + Hex(address) + "\n";
  }
  return handlers;
}

std::string SignalMask() { return StatusLine("SigBlk"); }

std::string Locale() { return std::setlocale(LC_ALL, nullptr); }

std::string Umask() { return StatusLine("Umask"); }

std::string CurrentFolder() {
  std::error_code error;
  return std::filesystem::current_path(error);
}

std::string Environment() {
  std::string variables;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    variables += std::string(*variable) + "\n";
  }
  return variables;
}

std::string ResourceLimits() {
  std::string limits;
  for (int kind = 0; kind < static_cast<int>(RLIM_NLIMITS); ++kind) {
    rlimit limit{};
    getrlimit(static_cast<__rlimit_resource>(kind), &limit);
    limits += "limit " + std::to_string(kind) + ": " + std::to_string(limit.rlim_cur) + "/" +
              std::to_string(limit.rlim_max) + "\n";
  }
  return limits;
}

std::string RoundingMode() { return std::to_string(std::fegetround()); }

std::string Timers() {
  std::string timers;
  for (const auto kind : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    itimerval timer{};
    getitimer(kind, &timer);
    const bool runs = timer.it_value.tv_sec != 0 || timer.it_value.tv_usec != 0;
    timers += runs ? "set " : "unset ";
  }
  return timers;
}

std::string StandardStreams() {
  std::string streams;
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    struct stat state {};
    const bool is_open = fstat(descriptor, &state) == 0;
    streams += is_open ? std::to_string(state.st_dev) + ":" + std::to_string(state.st_ino) + " " : "closed ";
    streams += std::to_string(fcntl(descriptor, F_GETFL)) + " ";
  }
  return streams;
}

std::string ErrorHandlers() {
  return Hex(reinterpret_cast<std::uintptr_t>(std::get_terminate())) + " " +
         Hex(reinterpret_cast<std::uintptr_t>(std::get_new_handler()));
}

std::string Children() {
  siginfo_t child{};
  const int result = waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT);
  return result != 0 && errno == ECHILD ? "none" : "some";
}

std::string Priority() { return std::to_string(getpriority(PRIO_PROCESS, 0)); }

std::string Dumpable() { return std::to_string(prctl(PR_GET_DUMPABLE)); }

std::string Threads() { return StatusLine("Threads"); }

std::string Descriptors() {
  std::map<int, std::string> descriptors;
  DIR* folder = opendir("/proc/self/fd");
  if (folder == nullptr) return {};
  while (const dirent* entry = readdir(folder)) {
    const int number = std::atoi(entry->d_name);
    if (entry->d_name[0] == '.' || number == dirfd(folder)) continue;
    std::array<char, 4096> goal{};
    const std::string link = std::string("/proc/self/fd/") + entry->d_name;
    if (readlink(link.c_str(), goal.data(), goal.size() - 1) > 0) descriptors[number] = goal.data();
  }
  closedir(folder);
  std::string text;
  for (const auto& [number, goal] : descriptors) text += std::to_string(number) + " " + goal + "\n";
  return text;
}

void DemandSame(const std::string& after, const std::string& before, const std::string& what) {
  if (after == before) return;
  throw Fault{what + " changed:" + LinesMissingIn(before, after, " now ") + LinesMissingIn(after, before, " before ")};
}

std::size_t MappedPieces() {
  std::size_t pieces = 0;
  for (const Mapping& mapping : Mappings()) {
    if (mapping.path.starts_with('/')) ++pieces;
  }
  return pieces;
}

bool IsMapped(const std::string& path) {
  for (const Mapping& mapping : Mappings()) {
    if (mapping.path == path) return true;
  }
  return false;
}

std::string PermissionsAt(const void* address) {
  const auto place = reinterpret_cast<std::uintptr_t>(address);
  for (const Mapping& mapping : Mappings()) {
    if (place >= mapping.begin && place < mapping.end) return mapping.permissions;
  }
  return {};
}

}  // namespace module_check::process_state
