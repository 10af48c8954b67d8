#include "media-server/container/dsf.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

std::string Dsf(std::uint32_t sample_rate, std::uint64_t samples) {
  const std::string format = Le(52, 8) + Le(1, 4) + Le(0, 4) + Le(2, 4) + Le(2, 4) + Le(sample_rate, 4) + Le(1, 4) +
                             Le(samples, 8) + Le(4096, 4) + Zeros(4);
  return "DSD " + Le(28, 8) + Zeros(16) + "fmt " + format + "data" + Zeros(1'000'000);
}

std::optional<double> Seconds(const std::string& content) {
  MemorySource source(content);
  return ReadDsfSeconds(source);
}

TEST(DsfTest, TheHeaderCountsTheSamples) {
  EXPECT_EQ(Seconds(Dsf(2'822'400, 2'822'400)), 1);
  EXPECT_EQ(Seconds(Dsf(5'644'800, 2'822'400)), 0.5);
}

TEST(DsfTest, TellsNothingWithoutACount) {
  EXPECT_FALSE(Seconds(Dsf(2'822'400, 0)));
  EXPECT_FALSE(Seconds(Dsf(0, 1)));
  EXPECT_FALSE(Seconds(Dsf(2'822'400, 1).substr(0, 71)));
  EXPECT_FALSE(Seconds(Zeros(100)));
}

}  // namespace
}  // namespace media_server
