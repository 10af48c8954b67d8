// fault_sweep FAULT MOST LIBRARY_FOLDER INPUT...: probes each input again and again in forked children, each time with
// another allocation or read that fails, and tells on standard output what came of it, one JSON object a line: one for
// each input, and one for each run that did not end well. MOST bounds the failures tried for an input, spread evenly; 0
// tries each. FAULT is "memory", "memory-in-thread", "read-error", "short-read", "interrupted-read" or "end-of-file";
// "in-thread" is a probe in a thread that has not probed before. An input that starts with "uuid:" is digested as well.
#include <dlfcn.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "core/error_text.h"
#include "core/log.h"
#include "faults/interposed.h"
#include "host.h"
#include "output/json_formatter.h"
#include "probe/prober.h"

namespace faults {
namespace {

using nlohmann::json;

constexpr unsigned kHangSeconds = 60;
constexpr std::string_view kDigested = "uuid:";

struct Plan {
  Fault fault;
  bool in_new_thread = false;
  std::uint64_t first = 0;
  bool all_after = false;
};

const std::map<std::string_view, Plan> kPlans{{"memory", {.fault = Fault::kNoMemory}},
                                              {"memory-in-thread", {.fault = Fault::kNoMemory, .in_new_thread = true}},
                                              {"read-error", {.fault = Fault::kReadError}},
                                              {"short-read", {.fault = Fault::kShortRead}},
                                              {"interrupted-read", {.fault = Fault::kInterrupted}},
                                              {"end-of-file", {.fault = Fault::kEndOfFile}}};

json Describe(const Frames& frames) {
  json described = json::array();
  for (const std::uintptr_t address : frames) {
    if (address == 0) break;
    Dl_info place{};
    if (dladdr(reinterpret_cast<void*>(address), &place) == 0) continue;
    described.push_back({place.dli_fname, address - reinterpret_cast<std::uintptr_t>(place.dli_fbase)});
  }
  return described;
}

int told = -1;  // where a child writes

void Tell(const json& value) {
  const std::string text = value.dump(-1, ' ', false, json::error_handler_t::replace);
  if (write(told, text.data(), text.size()) < 0) _exit(3);
}

/// Tells where a child broke down, with memory of its own: the process's may be what is broken.
void TellSignal(int number) {
  signal(number, SIG_DFL);
  const std::uint64_t count = Disarm();
  Frames frames;
  TakeFrames(frames);
  Tell({{"signal", number}, {"frames", Describe(frames)}, {"events", count}, {"failed_at", Describe(FailedAt())}});
  raise(number);
}

void CatchSignals() {
  static std::array<char, 1 << 18> stack;
  const stack_t own{.ss_sp = stack.data(), .ss_flags = 0, .ss_size = stack.size()};
  sigaltstack(&own, nullptr);
  struct sigaction tell {};
  tell.sa_handler = TellSignal;
  tell.sa_flags = SA_ONSTACK | SA_NODEFER;
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) sigaction(number, &tell, nullptr);
}

/// One input, probed as the tool's workers do, by services that are loaded and warm.
class Subject {
 public:
  /// Borrows `prober`.
  Subject(mediaprobe::Prober& prober, std::string input) : prober_(prober), input_(std::move(input)) {}

  /// Runs in a child. Probes with a failure as planned, and tells what came of it.
  void Probe(const Plan& plan, bool traces_blocks) {
    json told_of_it;
    {
      mediaprobe::Record record;
      Arm(plan.fault, plan.first, plan.all_after, traces_blocks);
      bool has_run_out = false;
      try {
        record = prober_.Probe(input_, nullptr);
      } catch (const std::bad_alloc&) {
        has_run_out = true;
        WatchAgain();
      }
      told_of_it["events"] = Disarm();
      if (has_run_out) {
        told_of_it["ran_out"] = true;
      } else {
        Describe(record, told_of_it);
      }
      WatchAgain();
    }
    Disarm();
    told_of_it["left"] = BlocksLeft();
    told_of_it["failed_at"] = faults::Describe(FailedAt());
    if (traces_blocks) {
      for (const Frames& place : WhereBlocksLeftWere()) told_of_it["left_at"].push_back(faults::Describe(place));
    }
    Tell(told_of_it);
  }

  const std::string& input() const { return input_; }

 private:
  static void Describe(const mediaprobe::Record& record, json& told_of_it) {
    const auto& error = record.error ? record.error : record.uuid_error;
    if (error) {
      told_of_it["error"] = *error;
    } else {
      told_of_it["record"] = mediaprobe::NdjsonFormatter().Format(record);
    }
  }

  mediaprobe::Prober& prober_;
  std::string input_;
};

/// What a child tells that probes with one failure; of one that told nothing the signal alone, 0 where it left.
json RunChild(Subject& subject, const Plan& plan, bool traces_blocks) {
  std::array<int, 2> ends;
  if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    told = ends[1];
    CatchSignals();
    alarm(kHangSeconds);
    if (plan.in_new_thread) {
      std::thread([&] { subject.Probe(plan, traces_blocks); }).join();
    } else {
      subject.Probe(plan, traces_blocks);
    }
    _exit(0);
  }
  close(ends[1]);
  std::string text;
  std::array<char, 65536> buffer;
  for (ssize_t got = 0; (got = syscall(SYS_read, ends[0], buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  json told_of_it = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (told_of_it.is_discarded()) return {{"signal", WIFSIGNALED(status) ? WTERMSIG(status) : 0}, {"events", 0}};
  return told_of_it;
}

/// Of the runs with a failure: one that answers as if there had been none tells nothing.
bool EndsWell(const json& run, const json& sound) {
  return run.value("record", "") == sound["record"] && run["left"] == 0;
}

void Sweep(Subject& subject, Plan plan, std::uint64_t most) {
  const json sound = RunChild(subject, plan, /*traces_blocks=*/true);
  std::map<std::string, std::uint64_t> counts;
  if (!sound.contains("record")) {
    std::puts(json{{"input", subject.input()}, {"broken", sound}}.dump().c_str());
    return;
  }
  const std::uint64_t events = sound["events"];
  const std::uint64_t step = most == 0 ? 1 : events / most + 1;
  std::uint64_t runs = 0;
  for (const bool all_after : {false, true}) {
    // Whoever is interrupted tries again, without an end.
    if (all_after && plan.fault == Fault::kInterrupted) continue;
    // The coarse half: what fails to the end fails nearly alike from one place as from the next.
    const std::uint64_t stride = all_after ? step * 4 : step;
    for (std::uint64_t first = 1; first <= events; first += stride, ++runs) {
      plan.first = first;
      plan.all_after = all_after;
      json run = RunChild(subject, plan, /*traces_blocks=*/false);
      if (EndsWell(run, sound)) continue;
      if (run.value("left", 0) > sound["left"]) run = RunChild(subject, plan, /*traces_blocks=*/true);
      run["input"] = subject.input();
      run["first"] = first;
      run["all_after"] = all_after;
      run["is_same"] = run.value("record", "") == sound["record"];
      run["left_more"] = run.value("left", 0) > sound["left"];
      std::puts(run.dump().c_str());
    }
  }
  std::puts(json{{"input", subject.input()}, {"events", events}, {"runs", runs}}.dump().c_str());
}

int Main(int argc, char** argv) {
  if (argc < 5 || !kPlans.contains(argv[1])) {
    std::fputs("fault_sweep FAULT MOST LIBRARY_FOLDER INPUT...\n", stderr);
    return 2;
  }
  const rlimit no_core{0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  CoreLogSetLevel(kCoreLogOff);
  PrepareFrames();
  // Grows to what the longest reason takes, and stays so.
  CoreSetErrorText(std::string(4096, ' ').c_str());
  const mediaprobe::Host host(argv[3]);
  if (!host.is_loaded()) return 2;
  const auto make_prober = [&host](bool wants_uuid) {
    return mediaprobe::Prober([&host](const char* name) { return host.AcquireService(name); },
                              {.service = mediaprobe::ServiceChoice::kAuto, .key = {}, .wants_uuid = wants_uuid});
  };
  mediaprobe::Prober plain = make_prober(false);
  mediaprobe::Prober digesting = make_prober(true);
  std::vector<Subject> subjects;
  for (std::string argument : std::span(argv + 4, argv + argc)) {
    const bool is_digested = argument.starts_with(kDigested);
    if (is_digested) argument.erase(0, kDigested.size());
    subjects.emplace_back(is_digested ? digesting : plain, argument);
    // What is loaded, cached or built with the first probes is there from then on.
    for (int i = 0; i < 3; ++i) {
      plain.Probe(argument, nullptr);
      digesting.Probe(argument, nullptr);
    }
  }
  for (Subject& subject : subjects) Sweep(subject, kPlans.at(argv[1]), std::strtoull(argv[2], nullptr, 10));
  return 0;
}

}  // namespace
}  // namespace faults

int main(int argc, char** argv) { return faults::Main(argc, argv); }
