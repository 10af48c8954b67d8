// What belongs to the host's process and not to a module: it is the same before and after the module was loaded, used
// and unloaded.

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "checks/areas.h"
#include "process_state.h"
#include "subject.h"
#include "tour.h"

namespace module_check {
namespace {

template <std::string (*kRead)()>
void Keeps(Subject& subject) {
  const std::string before = kRead();
  const LoadedModule module = Tour(subject);
  process_state::DemandSame(kRead(), before, "what is there with the module");
  subject.At("unloading");
  module.Unload();
  process_state::DemandSame(kRead(), before, "what is there after it was unloaded");
}

void Tours(Subject& subject) { Tour(subject).Unload(); }

std::string Written() {
  std::fflush(stdout);
  std::fflush(stderr);
  // Both lead to one file.
  std::string text(256, '\0');
  const ssize_t length = pread(STDOUT_FILENO, text.data(), text.size(), 0);
  text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return text;
}

void IsSilent(Subject& subject) {
  Tour(subject).Unload();
  DemandEqual(Written(), "", "what it wrote to the standard streams");
}

void LeavesFilesAlone(Subject& subject) {
  const std::string& path = subject.target().media_file;
  struct stat before {};
  struct stat after {};
  Demand(stat(path.c_str(), &before) == 0, "the media file cannot be found");
  Tour(subject).Unload();
  Demand(stat(path.c_str(), &after) == 0, "the media file is gone");
  DemandEqual(after.st_size, before.st_size, "the size of the media file");
  DemandEqual(after.st_mtim.tv_sec, before.st_mtim.tv_sec, "the second of its modification");
  DemandEqual(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec, "its time of modification");
  DemandEqual(after.st_mode, before.st_mode, "its mode");
}

namespace state = process_state;

constexpr std::array kChecks{
    Check{"process.tour", "every service is used and the module unloaded without a fault", Tours},
    Check{"process.silent", "nothing is written to standard output and standard error", IsSilent},
    Check{"process.standard-streams", "standard streams stay open and as they are", Keeps<state::StandardStreams>},
    Check{"process.signal-handlers", "no signal handler is changed", Keeps<state::SignalHandlers>},
    Check{"process.signal-mask", "no signal is blocked or let through", Keeps<state::SignalMask>},
    Check{"process.error-handlers", "the handlers of std::terminate and operator new stay",
          Keeps<state::ErrorHandlers>},
    Check{"process.locale", "the locale stays", Keeps<state::Locale>},
    Check{"process.environment", "the environment stays", Keeps<state::Environment>},
    Check{"process.folder", "the current folder stays", Keeps<state::CurrentFolder>},
    Check{"process.umask", "the mask of file modes stays", Keeps<state::Umask>},
    Check{"process.limits", "the limits of resources stay", Keeps<state::ResourceLimits>},
    Check{"process.rounding", "the rounding of floating-point numbers stays", Keeps<state::RoundingMode>},
    Check{"process.timers", "no timer is set", Keeps<state::Timers>},
    Check{"process.children", "no process is left behind", Keeps<state::Children>},
    Check{"process.priority", "the priority stays", Keeps<state::Priority>},
    Check{"process.dumpable", "whether the process may be dumped stays", Keeps<state::Dumpable>},
    Check{"process.files", "files that are looked at stay as they are", LeavesFilesAlone},
};

}  // namespace

std::span<const Check> ProcessChecks() { return kChecks; }

}  // namespace module_check
