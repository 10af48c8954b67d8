#include "media-server/container/wavpack.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

std::string BlockHeader(std::uint32_t flags) {
  return "wvpk" + Le(1000, 4) + Le(0x410, 2) + Zeros(2) + Le(44'100, 4) + Le(0, 4) + Le(22'050, 4) + Le(flags, 4) +
         Le(0, 4);
}

std::optional<bool> IsLossless(const std::string& content) {
  MemorySource source(content);
  return IsLosslessWavPack(source);
}

TEST(WavPackTest, HybridFilesLeaveSomethingOut) {
  EXPECT_EQ(IsLossless(BlockHeader(0x1801)), true);
  EXPECT_EQ(IsLossless(BlockHeader(0x1809)), false);
}

TEST(WavPackTest, OtherBytesTellNothing) {
  EXPECT_FALSE(IsLossless(""));
  EXPECT_FALSE(IsLossless(BlockHeader(0).substr(0, 27)));
  EXPECT_FALSE(IsLossless("wvpj" + BlockHeader(0).substr(4)));
}

}  // namespace
}  // namespace media_server
