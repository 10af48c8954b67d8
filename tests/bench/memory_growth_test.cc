// However many files a process has probed, it takes no more memory than after the first few of them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/media_host.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/service_ids.h"

namespace {

constexpr double kMostGrowthMb = 2;
/// What is loaded once, and how far an allocator spreads before it finds room for everything.
constexpr std::size_t kWarmUpRounds = 25;

double ResidentMb() {
  std::ifstream file("/proc/self/statm");
  double total_pages = 0;
  double resident_pages = 0;
  file >> total_pages >> resident_pages;
  return resident_pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

/// MEDIAINFO_PROBES asks for more than a test has time for.
std::size_t ProbeCount() {
  const char* wanted = std::getenv("MEDIAINFO_PROBES");
  return wanted ? std::strtoul(wanted, nullptr, 10) : 5000;
}

/// A probe of each sample, of any kind.
std::vector<std::function<void()>> ProbesOfAllKinds(bench::MediaHost& host) {
  std::vector<std::function<void()>> probes;
  for (const std::string& path : bench::SamplePaths()) {
    probes.emplace_back([&host, path] { host.Probe(path); });
  }
  const auto images = host.AcquireService(service::mediainfo::kImageInfoServiceName);
  for (const auto& entry : std::filesystem::directory_iterator(SAMPLES_FOLDER "/pictures")) {
    probes.emplace_back([images, url = "file:///" + entry.path().string()] {
      service::ISession* session = images->CreateSession();
      auto* image = dynamic_cast<service::mediainfo::IImageInfo*>(session);
      const bool is_read = image != nullptr && image->SetPath(url.c_str()) && image->GetMetadata() != nullptr;
      images->DestroySession(session);
      if (!is_read) throw std::runtime_error("cannot read " + url);
    });
  }
  return probes;
}

TEST(MemoryGrowthTest, ProbesOfAllKindsLeaveNothingBehind) {
  bench::MediaHost host;
  const auto probes = ProbesOfAllKinds(host);
  ASSERT_GT(probes.size(), 15U);
  for (std::size_t round = 0; round < kWarmUpRounds; ++round) {
    for (const auto& probe : probes) probe();
  }
  const double before_mb = ResidentMb();
  const std::size_t count = ProbeCount();
  for (std::size_t i = 0; i < count; ++i) probes[i % probes.size()]();
  const double growth_mb = ResidentMb() - before_mb;
  std::printf("%zu probes: %.2f MB before, grown by %.2f MB\n", count, before_mb, growth_mb);
  EXPECT_LT(growth_mb, kMostGrowthMb);
}

}  // namespace
