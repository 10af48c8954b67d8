// Makes the seccomp filters of the workers out of the tables of system calls, as an array of instructions each. Runs
// while the tool is built, so that libseccomp costs no start of the tool.

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#include "worker/sandbox/own_process_mark.h"
#include "worker/sandbox/system_calls.h"

namespace {

using mediaprobe::sandbox::Condition;
using mediaprobe::sandbox::SystemCall;

class Compiler {
 public:
  Compiler() : filter_(seccomp_init(SCMP_ACT_ERRNO(ENOSYS))) {
    // The system calls of another architecture, whose numbers mean something else.
    Check(filter_ ? seccomp_attr_set(filter_, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS) : -ENOMEM);
    // A tree instead of a list: the kernel runs a new filter for each system call that there is.
    Check(seccomp_attr_set(filter_, SCMP_FLTATR_CTL_OPTIMIZE, 2));
  }
  ~Compiler() { seccomp_release(filter_); }
  Compiler(const Compiler&) = delete;
  Compiler& operator=(const Compiler&) = delete;

  void Allow(std::span<const SystemCall> calls) {
    for (const SystemCall& call : calls) Allow(call);
  }

  void Kill(std::span<const char* const> names) {
    for (const char* name : names) {
      // Another architecture's, or newer than libseccomp: the system's answer is that it does not know it.
      if (const int number = seccomp_syscall_resolve_name(name); number >= 0) {
        Check(seccomp_rule_add(filter_, SCMP_ACT_KILL_PROCESS, number, 0));
      }
    }
  }

  void Print(const char* name) const {
    std::printf("inline constexpr sock_filter %s[] = {\n", name);
    for (const auto& [code, jump_true, jump_false, value] : Instructions()) {
      std::printf("    {0x%04x, %u, %u, 0x%08x},\n", unsigned{code}, unsigned{jump_true}, unsigned{jump_false}, value);
    }
    std::printf("};\n");
  }

 private:
  struct Instruction {
    std::uint16_t code;
    std::uint8_t jump_true;
    std::uint8_t jump_false;
    std::uint32_t value;
  };

  static void Check(int result) {
    if (result >= 0) return;
    std::fprintf(stderr, "libseccomp refuses a rule: error %d\n", -result);
    std::exit(1);
  }

  void Allow(const SystemCall& call) {
    int number = seccomp_syscall_resolve_name(call.name);
    if (number < 0 && call.instead) number = seccomp_syscall_resolve_name(call.instead);
    if (number < 0) return;
    switch (call.condition) {
      case Condition::kNone:
        Check(seccomp_rule_add(filter_, SCMP_ACT_ALLOW, number, 0));
        break;
      case Condition::kReadsOnly:
        AddIf(SCMP_ACT_ALLOW, number, {2, SCMP_CMP_MASKED_EQ, O_ACCMODE | O_CREAT | O_TRUNC, O_RDONLY});
        break;
      case Condition::kMakesNoCode:
        AddIf(SCMP_ACT_ALLOW, number, {2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0});
        break;
      case Condition::kStartsThread:
        AddIf(SCMP_ACT_ALLOW, number, {0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD});
        AddIf(SCMP_ACT_KILL_PROCESS, number, {0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0});
        break;
      case Condition::kOwnProcess:
        AddIf(SCMP_ACT_ALLOW, number, {0, SCMP_CMP_EQ, mediaprobe::sandbox::kOwnProcessMark, 0});
        break;
      case Condition::kReachesOtherHosts:
        AddIf(SCMP_ACT_ALLOW, number, {0, SCMP_CMP_EQ, AF_INET, 0});
        AddIf(SCMP_ACT_ALLOW, number, {0, SCMP_CMP_EQ, AF_INET6, 0});
        break;
      case Condition::kStatusFlags:
        AddIf(SCMP_ACT_ALLOW, number, {1, SCMP_CMP_EQ, F_GETFL, 0});
        Check(seccomp_rule_add(filter_, SCMP_ACT_ALLOW, number, 2, scmp_arg_cmp{1, SCMP_CMP_EQ, F_SETFL, 0},
                               scmp_arg_cmp{2, SCMP_CMP_MASKED_EQ, O_ASYNC, 0}));
        break;
      case Condition::kCountsArrived:
        AddIf(SCMP_ACT_ALLOW, number, {1, SCMP_CMP_EQ, FIONREAD, 0});
        break;
    }
  }

  /// The library's macros for conditions are no C++.
  void AddIf(std::uint32_t action, int number, const scmp_arg_cmp& condition) {
    Check(seccomp_rule_add_array(filter_, action, number, 1, &condition));
  }

  std::vector<Instruction> Instructions() const {
    const int file = memfd_create("filter", 0);
    Check(seccomp_export_bpf(filter_, file));
    std::vector<Instruction> instructions(static_cast<std::size_t>(lseek(file, 0, SEEK_END)) / sizeof(Instruction));
    const std::size_t size = instructions.size() * sizeof(Instruction);
    if (pread(file, instructions.data(), size, 0) != static_cast<ssize_t>(size)) Check(-EIO);
    close(file);
    return instructions;
  }

  scmp_filter_ctx filter_;
};

}  // namespace

int main() {
  using namespace mediaprobe::sandbox;
  std::printf("#pragma once\n\n#include <linux/filter.h>\n\n// Made by compile_filters.cc.\n");
  std::printf("namespace mediaprobe::sandbox {\n");

  Compiler files;
  files.Allow(kAllowed);
  files.Allow(kAllowedWithoutNetwork);
  files.Kill(kDeadly);
  files.Kill(kDeadlyServers);
  files.Kill(kDeadlyWithoutNetwork);
  files.Print("kFilesFilter");

  Compiler network;
  network.Allow(kAllowed);
  network.Allow(kAllowedForNetwork);
  network.Kill(kDeadly);
  network.Kill(kDeadlyServers);
  network.Print("kNetworkFilter");

  std::printf("}  // namespace mediaprobe::sandbox\n");
}
