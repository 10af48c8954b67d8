// The module's own work: opening a session, and opening one and asking it for everything, beside the bare media
// server's opening of the same file. Their processor time is taken in turn within each iteration, so that what else the
// machine does falls on all alike; the counters are medians. MEDIAINFO_MEDIA in the environment names a folder of other
// files, for a line about their mean. module_share counts the instructions of the three Counted... functions.

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "media_host.h"
#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "platform/text.h"

namespace bench {
namespace {

using platform::ComPtr;

ComPtr<media_server::IMediaServer> MakeServer() {
  ComPtr<media_server::IMediaServer> server;
  if (platform::Failed(CreateMediaServer("", "", "", "", "", server.Put()))) {
    throw std::runtime_error("cannot create a media server");
  }
  return server;
}

void OpenWithServer(media_server::IMediaServer& server, const std::string& path) {
  ComPtr<media_server::IMediaInfo> media_info;
  if (server.GetMediaInfo(platform::ToUtf16(path).c_str(), media_info.Put()) == 0) {
    throw std::runtime_error("cannot open " + path);
  }
}

MediaHost& Host() {
  static MediaHost host;
  return host;
}

media_server::IMediaServer& Server() {
  static const ComPtr<media_server::IMediaServer> server = MakeServer();
  return *server.Get();
}

/// Processor time of this thread, the kernel's for it included.
double ProcessorMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

template <typename Function>
double Microseconds(Function function) {
  const double start = ProcessorMicroseconds();
  function();
  return ProcessorMicroseconds() - start;
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

// Outside of the unnamed namespace and never inlined: they are looked up by name.
[[gnu::noinline]] void CountedServer(const std::string& path) { OpenWithServer(Server(), path); }
[[gnu::noinline]] void CountedSession(const std::string& path) { Host().OpenAndClose(path); }
[[gnu::noinline]] void CountedProbe(const std::string& path) { Host().Probe(path); }

namespace {

/// What a file takes: the bare server, a session, a probe of everything.
struct Overhead {
  double server_us = 0;
  double session_us = 0;
  double probe_us = 0;
};

class OverheadMeter {
 public:
  explicit OverheadMeter(const std::string& path) : path_(path) {
    // Not through the counted functions: the first time loads libraries and binds symbols.
    Host().Probe(path_);
    OpenWithServer(Server(), path_);
  }

  void Measure() {
    server_us_.push_back(Microseconds([this] { CountedServer(path_); }));
    session_us_.push_back(Microseconds([this] { CountedSession(path_); }));
    probe_us_.push_back(Microseconds([this] { CountedProbe(path_); }));
  }

  Overhead Medians() const { return {Median(server_us_), Median(session_us_), Median(probe_us_)}; }

 private:
  std::string path_;
  std::vector<double> server_us_;
  std::vector<double> session_us_;
  std::vector<double> probe_us_;
};

void Tell(const Overhead& overhead, benchmark::State& state) {
  state.counters["server_us"] = overhead.server_us;
  state.counters["session_us"] = overhead.session_us;
  state.counters["probe_us"] = overhead.probe_us;
  state.counters["session_share_percent"] = 100 * (1 - overhead.server_us / overhead.session_us);
  state.counters["probe_share_percent"] = 100 * (1 - overhead.server_us / overhead.probe_us);
}

void ModuleOverhead(benchmark::State& state, const std::string& path) {
  OverheadMeter meter(path);
  for ([[maybe_unused]] auto iteration : state) meter.Measure();
  Tell(meter.Medians(), state);
}

/// The mean file of a folder and those below it. Files that are no media are left out.
void FolderOverhead(benchmark::State& state, const std::string& folder) {
  constexpr int kRounds = 101;
  Overhead sum;
  double files = 0;
  for ([[maybe_unused]] auto iteration : state) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (!entry.is_regular_file()) continue;
      try {
        OverheadMeter meter(entry.path());
        for (int round = 0; round < kRounds; ++round) meter.Measure();
        const Overhead file = meter.Medians();
        sum.server_us += file.server_us;
        sum.session_us += file.session_us;
        sum.probe_us += file.probe_us;
        ++files;
      } catch (const std::runtime_error&) {
      }
    }
  }
  Tell({sum.server_us / files, sum.session_us / files, sum.probe_us / files}, state);
  state.counters["files"] = files;
}

const bool kAreRegistered = [] {
  for (const std::string& path : SamplePaths()) {
    benchmark::RegisterBenchmark(("ModuleOverhead/" + FileName(path)).c_str(), ModuleOverhead, path)
        ->Unit(benchmark::kMicrosecond);
  }
  if (const char* folder = std::getenv("MEDIAINFO_MEDIA")) {
    benchmark::RegisterBenchmark("FolderOverhead", FolderOverhead, folder)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1);
  }
  return true;
}();

}  // namespace
}  // namespace bench
