#include "hostile_deeds.h"

#include <fcntl.h>
#include <linux/perf_event.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace mediaprobe::testing {
namespace {

std::string In(const Scene& scene, const char* name) { return scene.folder + "/" + name; }

bool Opens(const std::string& path, int flags) {
  const int file = open(path.c_str(), flags, 0600);
  if (file >= 0) close(file);
  return file >= 0;
}

bool IsDone(long result) { return result >= 0; }

bool ReadsAnotherFile(const Scene& scene) {
  const int file = open(scene.canary.c_str(), O_RDONLY);
  char byte;
  return file >= 0 && read(file, &byte, 1) == 1;
}

bool ListsAFolder(const Scene& scene) {
  const int folder = open(scene.folder.c_str(), O_RDONLY | O_DIRECTORY);
  std::array<char, 1024> entries;
  return folder >= 0 && syscall(SYS_getdents64, folder, entries.data(), entries.size()) > 0;
}

bool RunsAProgram(const Scene&) {
  execl("/bin/sh", "sh", "-c", "exit 1", nullptr);
  return false;
}

bool RunsAProgramByItsFile(const Scene&) {
  const int shell = open("/bin/sh", O_RDONLY | O_CLOEXEC);
  const char* const arguments[] = {"sh", "-c", "exit 1", nullptr};
  const char* const environment[] = {nullptr};
  syscall(SYS_execveat, shell, "", arguments, environment, AT_EMPTY_PATH);
  return false;
}

bool Forks(const Scene&) {
  const long child = syscall(SYS_fork);
  if (child == 0) _exit(0);
  return IsDone(child);
}

bool Clones(const Scene&) {
  const long child = syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr);
  if (child == 0) _exit(0);
  return IsDone(child);
}

bool ReadsTheMemoryOfAnother(const Scene& scene) {
  char byte;
  const iovec here{&byte, 1};
  const iovec there{const_cast<char*>(scene.canary.data()), 1};  // the victim was forked with it at the same place
  return process_vm_readv(scene.victim, &here, 1, &there, 1, 0) == 1;
}

bool MakesMemoryIntoCode(const Scene&) {
  void* page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return page != MAP_FAILED && mprotect(page, 4096, PROT_READ | PROT_EXEC) == 0;
}

bool MapsCode(const Scene&) {
  return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
}

bool AsksForKernelCode(const Scene&) {
  std::array<std::uint64_t, 16> attributes{};
  return IsDone(syscall(SYS_bpf, 0, attributes.data(), sizeof attributes));
}

bool WatchesTheProcessor(const Scene&) {
  perf_event_attr attributes{};
  attributes.size = sizeof attributes;
  attributes.type = PERF_TYPE_SOFTWARE;
  attributes.exclude_kernel = 1;
  return IsDone(syscall(SYS_perf_event_open, &attributes, 0, -1, -1, 0));
}

bool MakesARing(const Scene&) {
  std::array<std::uint32_t, 30> parameters{};
  return IsDone(syscall(SYS_io_uring_setup, 1, parameters.data()));
}

bool ReadsTheEnvironment(const Scene&) {
  for (char** variable = environ; variable && *variable; ++variable) {
    if (!std::string(*variable).starts_with("TZ=")) return true;
  }
  return false;
}

// What is set on a descriptor stays with whoever else has it, so it is taken back.

bool HasAnotherBeSignalled(const Scene& scene) {
  if (fcntl(STDIN_FILENO, F_SETOWN, scene.victim) != 0) return false;
  fcntl(STDIN_FILENO, F_SETOWN, 0);
  return true;
}

bool ChoosesTheSignal(const Scene&) {
  if (fcntl(STDIN_FILENO, F_SETSIG, SIGKILL) != 0) return false;
  fcntl(STDIN_FILENO, F_SETSIG, 0);
  return true;
}

bool HasSignalsSent(const Scene&) {
  if (fcntl(STDIN_FILENO, F_SETFL, O_ASYNC) != 0) return false;
  fcntl(STDIN_FILENO, F_SETFL, 0);
  return true;
}

bool CommandsADevice(const Scene&) { return ioctl(STDIN_FILENO, FIOCLEX) == 0; }

bool TypesAtTheTerminal(const Scene&) { return ioctl(STDERR_FILENO, TIOCSTI, "x") == 0; }

bool ReadsWhatIsTyped(const Scene&) {
  char byte;
  return read(STDERR_FILENO, &byte, 1) == 1;
}

constexpr HostileDeed kDeeds[] = {
    {"read", ReadsAnotherFile, true, false, true},
    {"list", ListsAFolder, true, true, true},
    {"create", [](const Scene& s) { return Opens(In(s, "new"), O_WRONLY | O_CREAT); }, true, true, true},
    {"overwrite", [](const Scene& s) { return Opens(s.canary, O_WRONLY); }, true, true, true},
    {"append", [](const Scene& s) { return Opens(s.canary, O_RDWR | O_APPEND); }, true, true, true},
    {"cut", [](const Scene& s) { return truncate(s.canary.c_str(), 0) == 0; }, false, true, true},
    {"nameless", [](const Scene& s) { return Opens(s.folder, O_TMPFILE | O_RDWR); }, true, true, false},
    {"unlink", [](const Scene& s) { return unlink(In(s, "other").c_str()) == 0; }, true, true, true},
    {"rename", [](const Scene& s) { return rename(s.canary.c_str(), In(s, "new").c_str()) == 0; }, true, true, true},
    {"link", [](const Scene& s) { return link(s.canary.c_str(), In(s, "new").c_str()) == 0; }, true, true, true},
    {"symlink", [](const Scene& s) { return symlink("other", In(s, "new").c_str()) == 0; }, true, true, true},
    {"mkdir", [](const Scene& s) { return mkdir(In(s, "new").c_str(), 0700) == 0; }, true, true, true},
    {"rmdir", [](const Scene& s) { return rmdir(In(s, "empty").c_str()) == 0; }, true, true, true},
    {"mkfifo", [](const Scene& s) { return mkfifo(In(s, "new").c_str(), 0600) == 0; }, true, true, true},
    {"chmod", [](const Scene& s) { return chmod(s.canary.c_str(), 0777) == 0; }, false, true, true},
    {"touch", [](const Scene& s) { return utimensat(AT_FDCWD, s.canary.c_str(), nullptr, 0) == 0; }, false, true, true},
    {"chdir", [](const Scene&) { return chdir("/") == 0; }, false, true, true},
    {"socket", [](const Scene&) { return IsDone(socket(AF_INET, SOCK_STREAM, 0)); }, false, true, true},
    {"datagram", [](const Scene&) { return IsDone(socket(AF_INET6, SOCK_DGRAM, 0)); }, false, true, false},
    {"unix_socket", [](const Scene&) { return IsDone(socket(AF_UNIX, SOCK_STREAM, 0)); }, false, true, true},
    {"netlink", [](const Scene&) { return IsDone(socket(AF_NETLINK, SOCK_RAW, 0)); }, false, true, true},
    {"execve", RunsAProgram, true, true, true},
    {"execveat", RunsAProgramByItsFile, true, true, true},
    {"fork", Forks, false, true, true},
    {"clone", Clones, false, true, true},
    {"ptrace", [](const Scene& s) { return ptrace(PTRACE_ATTACH, s.victim, nullptr, nullptr) == 0; }, true, true,
     false},
    {"peek", ReadsTheMemoryOfAnother, true, true, false},
    {"kill", [](const Scene& s) { return kill(s.victim, SIGKILL) == 0; }, false, true, true},
    {"tgkill", [](const Scene& s) { return syscall(SYS_tgkill, s.victim, s.victim, SIGKILL) == 0; }, false, true, true},
    {"queue", [](const Scene& s) { return sigqueue(s.victim, SIGKILL, {}) == 0; }, false, true, true},
    {"pidfd", [](const Scene& s) { return IsDone(syscall(SYS_pidfd_open, s.victim, 0)); }, false, true, false},
    {"mount", [](const Scene& s) { return mount("none", In(s, "empty").c_str(), "tmpfs", 0, nullptr) == 0; }, true,
     true, false},
    {"unshare", [](const Scene&) { return unshare(CLONE_NEWUSER) == 0; }, false, true, false},
    {"chroot", [](const Scene& s) { return chroot(s.folder.c_str()) == 0; }, false, true, false},
    {"setuid", [](const Scene&) { return syscall(SYS_setuid, getuid()) == 0; }, false, true, true},
    {"bpf", AsksForKernelCode, false, true, false},
    {"perf", WatchesTheProcessor, false, true, false},
    {"ring", MakesARing, false, true, false},
    {"memfd", [](const Scene&) { return IsDone(memfd_create("code", 0)); }, false, true, true},
    {"keys", [](const Scene&) { return IsDone(syscall(SYS_keyctl, 0, -3, 1)); }, false, true, false},
    {"mprotect", MakesMemoryIntoCode, false, true, true},
    {"mmap", MapsCode, false, true, true},
    {"environment", ReadsTheEnvironment, false, false, true},
    {"owner", HasAnotherBeSignalled, false, true, true},
    {"signal", ChoosesTheSignal, false, true, true},
    {"async", HasSignalsSent, false, true, true},
    {"device", CommandsADevice, false, true, true},
    {"type", TypesAtTheTerminal, false, true, false},
    {"overhear", ReadsWhatIsTyped, false, false, false},
};

}  // namespace

std::span<const HostileDeed> HostileDeeds() { return kDeeds; }

}  // namespace mediaprobe::testing
