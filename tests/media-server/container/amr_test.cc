#include "media-server/container/amr.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

std::string Frames(int count, char head, std::size_t size) {
  std::string frames;
  for (int i = 0; i < count; ++i) frames += head + Zeros(size - 1);
  return frames;
}

std::optional<double> Seconds(const std::string& content) {
  MemorySource source(content);
  return ReadAmrSeconds(source);
}

TEST(AmrTest, CountsFramesOfAllSizes) {
  EXPECT_DOUBLE_EQ(Seconds("#!AMR\n" + Frames(50, 0x3C, 32)).value(), 1);
  EXPECT_DOUBLE_EQ(Seconds("#!AMR\n" + Frames(25, 0x04, 13) + Frames(25, 0x3C, 32) + Frames(50, 0x44, 6)).value(), 2);
  EXPECT_DOUBLE_EQ(Seconds("#!AMR\n" + Frames(50, 0x7C, 1)).value(), 1) << "nothing was sent";
  EXPECT_DOUBLE_EQ(Seconds("#!AMR-WB\n" + Frames(50, 0x44, 61)).value(), 1);
  EXPECT_DOUBLE_EQ(Seconds("#!AMR-WB\n" + Frames(10, 0x0C, 24) + Frames(40, 0x4C, 6)).value(), 1);
}

TEST(AmrTest, AFrameThatIsCutDoesNotCount) {
  EXPECT_DOUBLE_EQ(Seconds("#!AMR\n" + Frames(2, 0x3C, 32) + Frames(1, 0x3C, 31)).value(), 0.04);
  EXPECT_FALSE(Seconds("#!AMR\n" + Frames(1, 0x3C, 31)));
  EXPECT_FALSE(Seconds("#!AMR\n"));
}

TEST(AmrTest, CountsSilenceInFront) {
  EXPECT_NEAR(Seconds("#!AMR\n" + Frames(60'000, 0x7C, 1) + Frames(60'000, 0x3C, 32)).value(), 2400, 1e-6);
}

TEST(AmrTest, TheRestOfALongFileGoesOnAsItBegan) {
  EXPECT_NEAR(Seconds("#!AMR\n" + Frames(180'000, 0x3C, 32)).value(), 3600, 1e-3);
}

TEST(AmrTest, AServerGivesLess) {
  RemoteSource source("#!AMR\n" + Frames(60'000, 0x3C, 32));
  EXPECT_NEAR(ReadAmrSeconds(source).value(), 1200, 1e-1);
  EXPECT_LE(source.BytesRead(), 128u * 1024);
}

TEST(AmrTest, OtherFilesTellNothing) {
  EXPECT_FALSE(Seconds(""));
  EXPECT_FALSE(Seconds("#!AMR_MC1.0\n" + Be(2, 4) + Frames(50, 0x3C, 32)));
  MemorySource endless("#!AMR\n" + Frames(50, 0x3C, 32));
  endless.ForgetSize();
  EXPECT_FALSE(ReadAmrSeconds(endless));
}

}  // namespace
}  // namespace media_server
