#pragma once

#include <array>
#include <cstddef>

namespace mediaprobe::sandbox {

/// What an allowed system call may be asked for.
enum class Condition {
  kNone,
  kReadsOnly,          ///< opens what is there, for reading
  kMakesNoCode,        ///< memory that cannot be executed
  kStartsThread,       ///< a thread of this process, no process
  kOwnProcess,         ///< the process that the filter was installed in
  kReachesOtherHosts,  ///< a socket of the internet protocols
  kStatusFlags,        ///< reads and sets a descriptor's, and has it send no signals
  kCountsArrived,      ///< how many bytes can be read
};

struct SystemCall {
  const char* name;
  Condition condition;
  const char* reason;             ///< what needs it
  const char* instead = nullptr;  ///< where the processor has no such call
};

/// What a worker may ask of the system. Anything else is answered with ENOSYS, as by a system that does not know the
/// call: the C library has another way then, or its caller reads an error.
inline constexpr SystemCall kAllowed[] = {
    {"openat", Condition::kReadsOnly, "the input, and what it must not see: that it may not is told by Landlock"},
    {"read", Condition::kNone, "requests of the parent, small files"},
    {"pread64", Condition::kNone, "the input"},
    {"lseek", Condition::kNone, "files that the C library reads"},
    {"newfstatat", Condition::kNone, "kind and size of the input, why it cannot be opened"},
    {"fstat", Condition::kNone, "the same in other releases of the C library"},
    {"access", Condition::kNone, "why the input cannot be opened", "faccessat"},
    {"getcwd", Condition::kNone, "inputs whose names are relative"},
    {"fadvise64", Condition::kNone, "reading ahead for a digest"},
    {"close", Condition::kNone, "the input, when it is done"},
    {"write", Condition::kNone, "log lines, on descriptors that are open already"},
    {"sendto", Condition::kNone, "answers to the parent"},
    {"mmap", Condition::kMakesNoCode, "memory"},
    {"mprotect", Condition::kMakesNoCode, "memory of threads' stacks and heaps"},
    {"mremap", Condition::kNone, "memory"},
    {"munmap", Condition::kNone, "memory"},
    {"madvise", Condition::kNone, "memory of threads that have ended, memory to be zero again"},
    {"brk", Condition::kNone, "memory"},
    {"clone", Condition::kStartsThread, "the thread that tells how far a digest is"},
    {"futex", Condition::kNone, "waiting for that thread, locks"},
    {"rt_sigprocmask", Condition::kNone, "starting that thread, abort"},
    {"getrandom", Condition::kNone, "hash tables of the XML parser, without which the C library aborts; TLS"},
    {"rseq", Condition::kNone, "the same: without it the C library aborts"},
    {"clock_nanosleep", Condition::kNone, "waiting before another attempt"},
    {"exit", Condition::kNone, "the end of that thread"},
    {"exit_group", Condition::kNone, "the end of the worker"},
    {"restart_syscall", Condition::kNone, "waiting on after the process was stopped"},
    {"getpid", Condition::kNone, "abort, which tells the parent what went wrong"},
    {"gettid", Condition::kNone, "abort"},
    {"tgkill", Condition::kOwnProcess, "abort"},
#if defined(MEDIAPROBE_SANITIZED)
    // The runtimes of the sanitizers; no product is built with them.
    {"rt_sigaction", Condition::kNone, "sanitizers"},
    {"writev", Condition::kNone, "sanitizers"},
    {"set_robust_list", Condition::kNone, "sanitizers"},
    {"sigaltstack", Condition::kNone, "sanitizers: stacks of threads' handlers"},
    {"sched_yield", Condition::kNone, "sanitizers: their locks"},
    {"sched_getaffinity", Condition::kNone, "sanitizers"},
    {"readlink", Condition::kNone, "sanitizers: the program's name in reports"},
    {"prlimit64", Condition::kNone, "sanitizers: sizes of stacks"},
    {"rt_sigreturn", Condition::kNone, "sanitizers: their handlers"},
    {"prctl", Condition::kNone, "sanitizers: names of threads and mappings"},
    {"getuid", Condition::kNone, "sanitizers"},
    {"pipe2", Condition::kNone, "sanitizers: whether memory can be read"},
    {"dup", Condition::kNone, "sanitizers"},
#endif
};

/// What a worker may ask for in addition whose inputs are files; the others do without.
inline constexpr SystemCall kAllowedWithoutNetwork[] = {
    {"mincore", Condition::kNone, "whether memory is fresh, and zero"},
};

/// What a worker may ask for in addition whose inputs are network URLs.
inline constexpr SystemCall kAllowedForNetwork[] = {
    {"socket", Condition::kReachesOtherHosts, "the server, name servers"},
    {"connect", Condition::kNone, "the server, name servers"},
    {"poll", Condition::kNone, "waiting for them", "ppoll"},
    {"getsockopt", Condition::kNone, "whether a connection stands"},
    {"setsockopt", Condition::kNone, "sizes and times of connections"},
    {"getsockname", Condition::kNone, "the order of a host's addresses"},
    {"recvfrom", Condition::kNone, "what they answer"},
    {"sendmmsg", Condition::kNone, "questions to name servers"},
    {"fcntl", Condition::kStatusFlags, "connections that do not block"},
    {"ioctl", Condition::kCountsArrived, "how much a name server has answered"},
};

/// What no library of ours asks for, so that whoever does is somebody else: the process is killed. Numbers and names
/// that the system's headers do not know are passed over.
inline constexpr const char* kDeadly[] = {
    // other programs and processes
    "execve", "execveat", "fork", "vfork", "ptrace", "process_vm_readv", "process_vm_writev", "process_madvise", "kill",
    "tkill", "rt_sigqueueinfo", "rt_tgsigqueueinfo", "pidfd_open", "pidfd_send_signal", "pidfd_getfd", "kcmp",
    // the machine
    "mount", "umount2", "pivot_root", "chroot", "move_mount", "open_tree", "fsopen", "fsmount", "fsconfig", "setns",
    "unshare", "reboot", "kexec_load", "kexec_file_load", "init_module", "finit_module", "delete_module", "swapon",
    "swapoff", "sethostname", "settimeofday", "clock_settime", "iopl", "ioperm", "syslog", "acct", "quotactl",
    // rights
    "setuid", "setgid", "setreuid", "setregid", "setresuid", "setresgid", "setgroups", "capset", "add_key",
    "request_key", "keyctl",
    // wide and seldom needed ways into the kernel
    "bpf", "perf_event_open", "io_uring_setup", "io_uring_enter", "io_uring_register", "userfaultfd", "memfd_create",
    "open_by_handle_at"};

/// The same, but for workers whose inputs are network URLs, which may connect to hosts.
inline constexpr const char* kDeadlyWithoutNetwork[] = {"socket", "connect"};
/// Nobody waits for connections.
inline constexpr const char* kDeadlyServers[] = {"bind", "listen", "accept", "accept4", "socketpair"};

}  // namespace mediaprobe::sandbox
