// The module's own work: opening a session, and opening one and asking it for everything, beside the bare media
// server's opening of the same file. They are timed in turn within each iteration, so that what else the machine does
// falls on all alike; the counters are medians. module_share counts the instructions of the three Counted... functions.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
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
using Clock = std::chrono::steady_clock;

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

template <typename Function>
double Microseconds(Function function) {
  const Clock::time_point start = Clock::now();
  function();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
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

void ModuleOverhead(benchmark::State& state, const std::string& path) {
  // Not through the counted functions: the first time loads libraries and binds symbols.
  Host().Probe(path);
  OpenWithServer(Server(), path);
  std::vector<double> server_us;
  std::vector<double> session_us;
  std::vector<double> probe_us;
  for ([[maybe_unused]] auto iteration : state) {
    server_us.push_back(Microseconds([&path] { CountedServer(path); }));
    session_us.push_back(Microseconds([&path] { CountedSession(path); }));
    probe_us.push_back(Microseconds([&path] { CountedProbe(path); }));
  }
  state.counters["server_us"] = Median(server_us);
  state.counters["session_us"] = Median(session_us);
  state.counters["probe_us"] = Median(probe_us);
  state.counters["session_share_percent"] = 100 * (1 - Median(server_us) / Median(session_us));
  state.counters["probe_share_percent"] = 100 * (1 - Median(server_us) / Median(probe_us));
}

const bool kAreRegistered = [] {
  for (const std::string& path : SamplePaths()) {
    benchmark::RegisterBenchmark(("ModuleOverhead/" + FileName(path)).c_str(), ModuleOverhead, path)
        ->Unit(benchmark::kMicrosecond);
  }
  return true;
}();

}  // namespace
}  // namespace bench
