// What is left when the module is unloaded.

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "checks/areas.h"
#include "process_state.h"
#include "subject.h"
#include "tour.h"

namespace module_check {
namespace {

/// The C library's own tables of libraries grow for some hundred rounds before they are steady.
constexpr int kLoadCycles = 250;
constexpr int kTourCycles = 10;

void DemandUnmapped(const Subject& subject) {
  Demand(!process_state::IsMapped(subject.target().module), "it is still mapped after dlclose");
}

void Unloads(Subject& subject) {
  subject.Load().Unload();
  DemandUnmapped(subject);
}

void UnloadsAfterTable(Subject& subject) {
  const LoadedModule module = subject.Load();
  module.Table();
  module.Unload();
  DemandUnmapped(subject);
}

void UnloadsAfterUse(Subject& subject) {
  Tour(subject).Unload();
  DemandUnmapped(subject);
}

void LeavesNoThreads(Subject& subject) {
  const std::string before = process_state::Threads();
  Tour(subject).Unload();
  process_state::DemandSame(process_state::Threads(), before, "the number of threads");
}

void LeavesNoDescriptors(Subject& subject) {
  // Libraries below the module may keep a few for good, as they keep themselves: those of a first round.
  Tour(subject).Unload();
  const std::string before = process_state::Descriptors();
  for (int i = 0; i < kTourCycles; ++i) Tour(subject).Unload();
  process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
}

void LeavesNoDescriptorsOfItsOwn(Subject& subject) {
  const std::string before = process_state::Descriptors();
  subject.Load().Unload();
  process_state::DemandSame(process_state::Descriptors(), before, "the list of open descriptors");
}

void LeavesNoMappings(Subject& subject) {
  for (int i = 0; i < kTourCycles; ++i) Tour(subject).Unload();
  const std::size_t before = process_state::MappedPieces();
  for (int i = 0; i < kTourCycles; ++i) Tour(subject).Unload();
  DemandEqual(process_state::MappedPieces(), before, "the number of mapped pieces of files");
}

void KeepsMemory(Subject& subject) {
  DemandSteadyMemory(kLoadCycles, [&] { subject.Load().Unload(); });
}

void LoadsAgain(Subject& subject) {
  std::string first;
  for (int round = 0; round < kTourCycles; ++round) {
    std::string texts;
    const LoadedModule module = Tour(subject);
    for (const service::ServiceDescriptor& row : module.Table()) {
      texts += Shown(row.name) + " " + Shown(row.description) + " " + Shown(row.uuid) + "\n";
    }
    module.Unload();
    if (round == 0) first = texts;
    DemandEqual(texts, first, "the table of a later round");
  }
}

void SurvivesASecondHandle(Subject& subject) {
  const LoadedModule first = subject.Load();
  const LoadedModule second = subject.Load();
  Demand(first.handle() == second.handle(), "it is loaded twice");
  second.Unload();
  subject.At("use after one of two handles was closed");
  Tour(subject);
}

void UnloadsInAnotherThread(Subject& subject) {
  const LoadedModule module = Tour(subject);
  std::thread([&] { module.Unload(); }).join();
  DemandUnmapped(subject);
}

void LoadsInAThread(Subject& subject) {
  std::thread([&] { Tour(subject).Unload(); }).join();
  DemandUnmapped(subject);
}

/// The thread that used the module ends after it is gone.
void MayEndThreadsLater(Subject& subject) {
  std::mutex mutex;
  std::condition_variable changed;
  bool is_used = false;
  bool is_unloaded = false;
  const LoadedModule module = subject.Load();
  std::thread user([&] {
    Tour(subject).Unload();
    std::unique_lock lock(mutex);
    is_used = true;
    changed.notify_all();
    changed.wait(lock, [&] { return is_unloaded; });
  });
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return is_used; });
    module.Unload();
    is_unloaded = true;
  }
  changed.notify_all();
  subject.At("the end of a thread that had used the module");
  user.join();
}

void UnloadsAfterOthers(Subject& subject) {
  if (!subject.RegisterCompanions()) throw NotApplicable();
  Tour(subject).Unload();
  DemandUnmapped(subject);
}

/// A Fault unless a process that ends after `task`, as programs do, ends well.
template <typename Task>
void DemandOrderlyExit(Task task) {
  std::fflush(nullptr);
  const pid_t child = fork();
  Demand(child >= 0, "there is no process to be had");
  if (child == 0) {
    try {
      task();
    } catch (...) {
      _exit(EXIT_FAILURE);
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the end of a program is what is checked.
    std::exit(EXIT_SUCCESS);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Demand(!WIFSIGNALED(status), std::string("the end of the process was ") + strsignal(WTERMSIG(status)));
  DemandEqual(WEXITSTATUS(status), EXIT_SUCCESS, "the status that the process ended with");
}

void EndsAfterUnloading(Subject& subject) {
  DemandOrderlyExit([&] { Tour(subject).Unload(); });
}

void EndsWhileLoaded(Subject& subject) {
  DemandOrderlyExit([&] { Tour(subject); });
}

constexpr std::array kChecks{
    Check{"unload.unused", "loaded and unloaded at once, it is gone", Unloads},
    Check{"unload.table", "and after its table was read", UnloadsAfterTable},
    Check{"unload.used", "and after every service was used", UnloadsAfterUse},
    Check{"unload.threads", "no thread is left", LeavesNoThreads},
    Check{"unload.descriptors", "rounds of loading, using and unloading leave no descriptor", LeavesNoDescriptors},
    Check{"unload.descriptors-unused", "nor does loading alone", LeavesNoDescriptorsOfItsOwn},
    Check{"unload.mappings", "rounds leave no mapped file", LeavesNoMappings},
    Check{"unload.memory", "rounds of loading and unloading leave no memory behind", KeepsMemory},
    Check{"unload.again", "loaded again, it tells the same and works as before", LoadsAgain},
    Check{"unload.second-handle", "while one of two handles is open, it works", SurvivesASecondHandle},
    Check{"unload.other-thread", "it is unloaded by another thread than used it", UnloadsInAnotherThread},
    Check{"unload.in-thread", "a thread may load, use and unload it", LoadsInAThread},
    Check{"unload.thread-later", "a thread that used it may end after it is gone", MayEndThreadsLater},
    Check{"unload.companions", "it goes while the modules that it asked stay", UnloadsAfterOthers},
    Check{"unload.exit", "a program ends well after it is gone", EndsAfterUnloading},
    Check{"unload.exit-loaded", "and while it is loaded", EndsWhileLoaded},
};

}  // namespace

std::span<const Check> UnloadChecks() { return kChecks; }

}  // namespace module_check
