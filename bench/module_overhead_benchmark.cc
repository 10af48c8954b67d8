// The module's own work: a session's opening beside the bare media server's on the same file. Both are timed in turn
// within each iteration, so that what else the machine does falls on both alike; the counters are medians.

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

void ModuleOverhead(benchmark::State& state, const std::string& path) {
  static MediaHost host;
  static const ComPtr<media_server::IMediaServer> server = MakeServer();
  std::vector<double> server_us;
  std::vector<double> session_us;
  for ([[maybe_unused]] auto iteration : state) {
    server_us.push_back(Microseconds([&path] { OpenWithServer(*server.Get(), path); }));
    session_us.push_back(Microseconds([&path] { host.OpenAndClose(path); }));
  }
  state.counters["server_us"] = Median(server_us);
  state.counters["session_us"] = Median(session_us);
  state.counters["overhead_percent"] = 100 * (Median(session_us) / Median(server_us) - 1);
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
