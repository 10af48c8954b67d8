#include "media-server/container/transport_pes.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

constexpr std::uint32_t kPid = 0x101;
constexpr std::uint32_t kBegins = 0x4000;
constexpr std::size_t kRoom = 184;

/// A packet that an adaptation field fills up.
std::string Packet(std::uint32_t pid_and_flags, const std::string& payload, std::uint32_t scrambling = 0) {
  const std::string head = Be(0x47, 1) + Be(pid_and_flags, 2) + Be(scrambling | 0x30, 1);
  return head + Be(kRoom - 1 - payload.size(), 1) + Zeros(kRoom - 1 - payload.size()) + payload;
}

/// The head of a PES packet of pictures with a time of five bytes.
std::string Pes(const std::string& content) { return "\0\0\1\xE0"s + Zeros(2) + "\x80\x80\x05"s + "time5" + content; }

std::string Others(int count) {
  std::string packets;
  for (int i = 0; i < count; ++i) packets += Packet(kBegins | 0x100, Pes("other"));
  return packets;
}

std::string FirstPes(const std::string& content, std::size_t most = 4096) {
  MemorySource source(content);
  const auto bytes = ReadFirstPes(source, kPid, most);
  return {bytes.begin(), bytes.end()};
}

TEST(TransportPes, IsPutTogetherFromItsPackets) {
  const std::string rest_of_one = Packet(kPid, "rest of one");
  const std::string first = Packet(kBegins | kPid, Pes("first ")) + Others(1) + Packet(kPid, "picture");
  const std::string next = Packet(kBegins | kPid, Pes("next"));
  EXPECT_EQ(FirstPes(Others(2) + rest_of_one + first + next), "first picture");
  EXPECT_EQ(FirstPes(rest_of_one + first + Others(2)), "first picture") << "up to the end";
  EXPECT_EQ(FirstPes(first + next + Others(2), 7), "first p");
}

TEST(TransportPes, BrokenPacketsArePassedOver) {
  EXPECT_EQ(FirstPes(Packet(0x8000 | kBegins | kPid, Pes("bad")) + Packet(kBegins | kPid, Pes("good")) + Others(5)),
            "good");
}

TEST(TransportPes, ScrambledOnesTellNothing) {
  EXPECT_EQ(FirstPes(Packet(kBegins | kPid, Pes("x"), 0x80) + Packet(kBegins | kPid, Pes("y")) + Others(5)), "");
}

TEST(TransportPes, OtherBytesHaveNone) {
  EXPECT_EQ(FirstPes(""), "");
  EXPECT_EQ(FirstPes(Zeros(5000)), "");
  EXPECT_EQ(FirstPes(Others(6)), "");
  EXPECT_EQ(FirstPes(Packet(kBegins | kPid, "no start code of a PES") + Others(5)), "");
  EXPECT_EQ(FirstPes(Packet(kBegins | kPid, "\0\0\1\xE0"s) + Others(5)), "") << "a cut head";
}

}  // namespace
}  // namespace media_server
