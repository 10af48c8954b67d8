// What a host waits for: opening a session on a file, once the module is loaded and the file is in the page cache.

#include <benchmark/benchmark.h>

#include <string>

#include "media_host.h"

namespace bench {
namespace {

void OpenSession(benchmark::State& state, const std::string& path) {
  static MediaHost host;
  for ([[maybe_unused]] auto iteration : state) host.OpenAndClose(path);
}

const bool kAreRegistered = [] {
  for (const std::string& path : SamplePaths()) {
    benchmark::RegisterBenchmark(("OpenSession/" + FileName(path)).c_str(), OpenSession, path)
        ->Unit(benchmark::kMicrosecond);
  }
  return true;
}();

}  // namespace
}  // namespace bench
