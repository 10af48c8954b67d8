#include "media-server/container/transport_scrambling.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using Pids = std::vector<std::uint16_t>;

constexpr std::uint32_t kClear = 0x10;  // payload alone
constexpr std::uint32_t kEvenKey = 0x90;
constexpr std::uint32_t kOddKey = 0xD0;

std::string Packet(std::uint32_t pid, std::uint32_t flags) {
  return Be(0x47, 1) + Be(pid, 2) + Be(flags, 1) + Zeros(184);
}

std::string Packets(int count, std::uint32_t pid, std::uint32_t flags) {
  std::string packets;
  for (int i = 0; i < count; ++i) packets += Packet(pid, flags);
  return packets;
}

Pids ScrambledPids(const std::string& content) {
  MemorySource source(content);
  return ReadScrambledPids(source);
}

TEST(TransportScrambling, TellsThePidsWithAKey) {
  const std::string stream =
      Packets(2, 0, kClear) + Packets(3, 0x102, kOddKey) + Packets(3, 0x101, kEvenKey) + Packets(3, 0x103, kClear);
  EXPECT_EQ(ScrambledPids(stream), (Pids{0x101, 0x102}));
}

TEST(TransportScrambling, HalfOfThePacketsAreTooFew) {
  const std::string half = Packets(4, 0x101, kClear) + Packets(4, 0x101, kEvenKey);
  EXPECT_EQ(ScrambledPids(half), Pids{});
  EXPECT_EQ(ScrambledPids(half + Packet(0x101, kEvenKey)), Pids{0x101});
}

TEST(TransportScrambling, BrokenPacketsAndThoseWithoutPayloadDoNotCount) {
  const std::string clear = Packets(5, 0x101, kClear);
  EXPECT_EQ(ScrambledPids(clear + Packets(9, 0x8000 | 0x101, kEvenKey)), Pids{}) << "the receiver met an error";
  EXPECT_EQ(ScrambledPids(clear + Packets(9, 0x101, 0xA0)), Pids{}) << "an adaptation field alone";
}

TEST(TransportScrambling, PacketsOfAllPitchesAndBehindAnything) {
  std::string timed;
  std::string corrected;
  for (int i = 0; i < 6; ++i) {
    timed += Be(1, 4) + Packet(0x101, kEvenKey);
    corrected += Packet(0x101, kEvenKey) + Zeros(16);
  }
  EXPECT_EQ(ScrambledPids(timed), Pids{0x101});
  EXPECT_EQ(ScrambledPids(corrected), Pids{0x101});
  EXPECT_EQ(ScrambledPids(Zeros(100) + Packets(6, 0x101, kEvenKey)), Pids{0x101});
}

TEST(TransportScrambling, OtherBytesHaveNone) {
  EXPECT_EQ(ScrambledPids(""), Pids{});
  EXPECT_EQ(ScrambledPids(Zeros(5000)), Pids{});
  EXPECT_EQ(ScrambledPids(Packets(4, 0x101, kEvenKey)), Pids{}) << "four packets prove nothing";
}

}  // namespace
}  // namespace media_server
