#include "child_process.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <sstream>
#include <system_error>
#include <utility>

#include "core/log.h"

namespace module_check {
namespace {

/// What a process exits with when its check has told its verdict.
constexpr int kTold = 0;
constexpr std::size_t kMostOutput = 64 * 1024;

[[noreturn]] void ThrowSystemError(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

SharedNote* MapNote() {
  void* memory = mmap(nullptr, sizeof(SharedNote), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) ThrowSystemError("mmap");
  return new (memory) SharedNote{};
}

void TellFault(std::string_view text, SharedNote& note) {
  Note(text, note.fault);
  note.verdict = Verdict::kFailed;
}

void RunCheck(const Check& check, const Target& target, SharedNote& note) {
  try {
    Subject subject(target, note);
    check.run(subject);
    note.verdict = Verdict::kPassed;
  } catch (const Fault& fault) {
    TellFault(fault.text, note);
  } catch (const NotApplicable&) {
    note.verdict = Verdict::kNotApplicable;
  } catch (const std::exception& error) {
    TellFault(std::string("an exception came out of the module: ") + error.what(), note);
  } catch (...) {
    TellFault("an exception came out of the module", note);
  }
}

/// Signals and settings as a program that was just started has them, whatever this one's parent did.
void Settle(int output) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const int nothing = open("/dev/null", O_RDONLY);
  dup2(nothing, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  // Those of other checks among them: what a check finds open is its own.
  close_range(STDERR_FILENO + 1, ~0U, 0);
  CoreLogSetLevel(kCoreLogOff);
}

std::string SignalName(int number) {
  const char* name = sigabbrev_np(number);
  return name == nullptr ? "signal " + std::to_string(number) : std::string("SIG") + name;
}

}  // namespace

ChildProcess::ChildProcess(const Check& check, const Target& target)
    : check_(check), note_(MapNote()), output_(memfd_create("output", MFD_CLOEXEC)), started_(Clock::now()) {
  if (output_ < 0) ThrowSystemError("memfd_create");
  pid_ = fork();
  if (pid_ < 0) ThrowSystemError("fork");
  if (pid_ == 0) {
    Settle(output_);
    RunCheck(check, target, *note_);
    // Neither this program's own leave-taking nor the module's: what ends is the check.
    _exit(kTold);
  }
  setpgid(pid_, pid_);
  // Not the C library's function: its header of 2.36 does not give it C linkage.
  descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  if (descriptor_ < 0) ThrowSystemError("pidfd_open");
}

ChildProcess::~ChildProcess() {
  Kill();
  if (descriptor_ >= 0) close(descriptor_);
  close(output_);
  munmap(note_, sizeof(SharedNote));
}

void ChildProcess::Kill() {
  // What it started is of its process group.
  kill(-pid_, SIGKILL);
  if (!std::exchange(was_reaped_, true)) waitpid(pid_, nullptr, 0);
}

Result ChildProcess::Judge() {
  int status = 0;
  waitpid(pid_, &status, 0);
  was_reaped_ = true;
  if (WIFSIGNALED(status)) {
    const int number = WTERMSIG(status);
    const std::string signal = SignalName(number) + " (" + strsignal(number) + ")";
    return {&check_, Outcome::kFailed, "the process was killed by " + signal + Place() + LastWords()};
  }
  const bool has_told = WEXITSTATUS(status) == kTold && note_->verdict != Verdict::kNone;
  if (!has_told) {
    const std::string end = "the process ended with status " + std::to_string(WEXITSTATUS(status));
    return {&check_, Outcome::kFailed, end + Place() + LastWords()};
  }
  switch (note_->verdict) {
    case Verdict::kPassed:
      return {&check_, Outcome::kPassed, {}};
    case Verdict::kNotApplicable:
      return {&check_, Outcome::kNotApplicable, {}};
    default:
      return {&check_, Outcome::kFailed, note_->fault.data()};
  }
}

Result ChildProcess::Abandon(std::chrono::milliseconds timeout) {
  Kill();
  std::ostringstream seconds;
  seconds << std::chrono::duration<double>(timeout).count();
  return {&check_, Outcome::kFailed, "no answer within " + seconds.str() + " s" + Place() + LastWords()};
}

std::string ChildProcess::Place() const {
  return note_->at.front() == '\0' ? std::string() : std::string(", at ") + note_->at.data();
}

/// The last line that it wrote: what aborts a process says why.
std::string ChildProcess::LastWords() const {
  std::string text(kMostOutput, '\0');
  const off_t end = lseek(output_, 0, SEEK_END);
  const off_t begin = std::max<off_t>(end - static_cast<off_t>(kMostOutput), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(pread(output_, text.data(), text.size(), begin), 0)));
  while (text.ends_with('\n')) text.pop_back();
  if (text.empty()) return {};
  return "; it said: " + text.substr(text.rfind('\n') + 1);
}

}  // namespace module_check
