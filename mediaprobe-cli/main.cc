#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <variant>

#include "command_line.h"
#include "run.h"

namespace {

/// The next file that is opened would get the number of a standard one that is closed, and what is meant for the one
/// would go into the other. A closed one stays of no use, so that its failure is told.
void OccupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

/// What one input has freed the next one takes. By default it goes back to the system each time, page by page: a fifth
/// of the time for a transport stream, whose packets are gathered in 200 kB.
void KeepFreedMemory() {
  mallopt(M_MMAP_THRESHOLD, 4 << 20);
  mallopt(M_TRIM_THRESHOLD, 16 << 20);
}

}  // namespace

int main(int argc, char** argv) {
  OccupyStandardDescriptors();
  KeepFreedMemory();
  // A file that may grow no further is a write that fails, and told as one.
  std::signal(SIGXFSZ, SIG_IGN);
  // Whoever started us may have left it ignored: the system would then forget how a worker ended, and give its number
  // to another process while we still go by it.
  std::signal(SIGCHLD, SIG_DFL);
  const auto parsed = mediaprobe::ParseCommandLine(argc, argv);
  if (const auto* leave = std::get_if<mediaprobe::EarlyExit>(&parsed)) {
    if (leave->status == mediaprobe::kExitAnswered) return mediaprobe::Show(leave->text);
    std::fputs(leave->text.c_str(), stderr);
    return leave->status;
  }
  return mediaprobe::Run(std::get<mediaprobe::Options>(parsed), argv);
}
