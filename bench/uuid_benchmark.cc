// The media UUID service on a file of 1 GB in the page cache, beside `openssl md5` on the same file in the same run
// ("of_openssl" is our speed over its), and a second request for the same text.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "media_host.h"
#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;
using service::mediauuid::IMediaUuid;

constexpr std::size_t kBigBytes = 1'000'000'000;

/// A file of random bytes, which goes away at the end.
class BigFile {
 public:
  BigFile() {
    std::mt19937_64 random;
    std::vector<std::mt19937_64::result_type> block(1 << 17);
    for (auto& word : block) word = random();
    std::ofstream file(path_, std::ios::binary);
    for (std::size_t done = 0; done < kBigBytes; done += block.size() * 8) {
      block[0] = done;
      file.write(reinterpret_cast<const char*>(block.data()),
                 static_cast<std::streamsize>(std::min(block.size() * 8, kBigBytes - done)));
    }
    if (!file.flush()) throw std::runtime_error("cannot write " + path_);
  }
  ~BigFile() { std::filesystem::remove(path_); }
  BigFile(const BigFile&) = delete;
  BigFile& operator=(const BigFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_ = std::filesystem::temp_directory_path() / ("uuid_benchmark." + std::to_string(getpid()));
};

/// The service with one session.
class UuidSession {
 public:
  UuidSession()
      : service_(host_.AcquireService(service::mediainfo::kMediaUuidServiceName)),
        session_(service_->CreateSession()) {}
  ~UuidSession() { service_->DestroySession(session_); }
  UuidSession(const UuidSession&) = delete;
  UuidSession& operator=(const UuidSession&) = delete;

  IMediaUuid& operator*() { return dynamic_cast<IMediaUuid&>(*session_); }

 private:
  MediaHost host_;
  std::shared_ptr<service::IService> service_;
  service::ISession* session_;
};

double SecondsOfOpenSsl(const std::string& path) {
  const auto start = Clock::now();
  if (std::system(("openssl md5 " + path + " > /dev/null").c_str()) != 0) throw std::runtime_error("openssl md5 fails");
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void DigestBigFile(benchmark::State& state) {
  const BigFile file;
  UuidSession session;
  core::Uuid uuid;
  (*session).GetUuid(file.path().c_str(), &uuid);  // into the page cache
  double ours = 0;
  double theirs = 0;
  for (auto _ : state) {
    const auto start = Clock::now();
    if (!(*session).GetUuid(file.path().c_str(), &uuid)) throw std::runtime_error("no UUID");
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    state.SetIterationTime(seconds);
    ours += seconds;
    theirs += SecondsOfOpenSsl(file.path());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(kBigBytes) * state.iterations());
  state.counters["of_openssl"] = theirs / ours;
}
BENCHMARK(DigestBigFile)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void SecondTextRequest(benchmark::State& state) {
  UuidSession session;
  const std::string path = SamplePaths().front();
  if (!(*session).GetUuidText(path.c_str())) throw std::runtime_error("no UUID");
  for (auto _ : state) benchmark::DoNotOptimize((*session).GetUuidText(path.c_str()));
}
BENCHMARK(SecondTextRequest)->Unit(benchmark::kNanosecond);

}  // namespace
}  // namespace bench
