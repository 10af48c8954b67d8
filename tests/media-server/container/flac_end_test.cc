#include "media-server/container/flac_end.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

/// At 44.1 kHz, in blocks of 4,096 samples.
std::string File(const std::string& frames, std::uint64_t samples = 0, std::uint64_t largest_frame = 0) {
  const std::string info = Be(4096, 2) + Be(4096, 2) + Zeros(3) + Be(largest_frame, 3) +
                           Be(std::uint64_t{44'100} << 44 | 1ULL << 41 | 15ULL << 36 | samples, 8) + Zeros(16);
  return "fLaC" + Be(0x80, 1) + Be(info.size(), 3) + info + frames;
}

/// The remainder of x^8 + x^2 + x + 1.
std::string Checksum(const std::string& bytes) {
  unsigned remainder = 0;
  for (const char byte : bytes + '\0') {
    for (int bit = 7; bit >= 0; --bit) {
      remainder = remainder << 1 | (static_cast<unsigned char>(byte) >> bit & 1U);
      if ((remainder & 0x100) != 0) remainder ^= 0x107;
    }
  }
  return Be(remainder, 1);
}

/// `number` as it is written; `sizes` are the codes of block and rate, with `more` behind the number.
std::string Frame(const std::string& number, int sizes = 0xC9, const std::string& more = "", int kind = 0xF8) {
  const std::string header = "\xFF" + Be(static_cast<std::uint64_t>(kind), 1) +
                             Be(static_cast<std::uint64_t>(sizes), 1) + "\x18" + number + more;
  return header + Checksum(header) + std::string(300, '\x55');
}

std::optional<double> Seconds(const std::string& content) {
  MemorySource source(content);
  return ReadFlacSeconds(source);
}

constexpr double kBlock = 4096.0 / 44'100;

TEST(FlacEndTest, TheLastFrameBearsItsNumber) {
  EXPECT_EQ(Seconds(File(Frame("\0"s) + Frame("\1"s) + Frame("\2"s))), 3 * 4096 / 44'100.0);
  EXPECT_EQ(Seconds(File(Frame("\0"s))), kBlock);
  EXPECT_EQ(Seconds(File(Frame("\0"s) + Frame("\xE2\x82\xAC"s))), (0x20AC + 1) * 4096.0 / 44'100) << "as UTF-8";
}

TEST(FlacEndTest, TheLastBlockMayBeShorter) {
  const auto last = [](int sizes, const std::string& more) {
    return *Seconds(File(Frame("\0"s) + Frame("\2"s, sizes, more))) * 44'100 - 2 * 4096;
  };
  EXPECT_NEAR(last(0x19, ""), 192, 1e-6);
  EXPECT_NEAR(last(0x29, ""), 576, 1e-6);
  EXPECT_NEAR(last(0x59, ""), 4608, 1e-6);
  EXPECT_NEAR(last(0x69, "\x63"), 100, 1e-6);
  EXPECT_NEAR(last(0x79, Be(999, 2)), 1000, 1e-6);
  EXPECT_NEAR(last(0xF9, ""), 32'768, 1e-6);
}

TEST(FlacEndTest, WhereBlocksDifferSamplesAreCounted) {
  EXPECT_EQ(Seconds(File(Frame("\0"s, 0xC9, "", 0xF9) + Frame("\xC4\x80"s, 0xC9, "", 0xF9))),
            (0x100 + 4096) / 44'100.0);
}

TEST(FlacEndTest, RatesMayStandBehindTheNumber) {
  EXPECT_EQ(Seconds(File(Frame("\0"s, 0xCC, "\x2C") + Frame("\1"s, 0xCC, "\x2C"))), 2 * kBlock);
  EXPECT_EQ(Seconds(File(Frame("\0"s, 0xCD, "\xAC\x44") + Frame("\1"s, 0xCD, "\xAC\x44"))), 2 * kBlock);
}

TEST(FlacEndTest, WhatOnlyLooksLikeAFrameIsNone) {
  const std::string frames = Frame("\0"s) + Frame("\1"s);
  std::string wrong_checksum = Frame("\7"s);
  wrong_checksum[5] ^= 1;
  for (const std::string& other : {wrong_checksum, Frame("\7"s, 0xC8), Frame("\7"s, 0xC9, "", 0xF9), Frame("\x80"s),
                                   Frame("\xC4\xC4"s), Frame("\7"s, 0x09), "\xFF\xF8\xC9"s}) {
    EXPECT_EQ(Seconds(File(frames + other)), 2 * kBlock);
  }
}

TEST(FlacEndTest, TheLastFrameIsLookedForAsFarAsTheLargestReaches) {
  const std::string frames = Frame("\0"s) + Frame("\1"s);
  EXPECT_EQ(Seconds(File(frames + Zeros(60'000))), 2 * kBlock);
  EXPECT_FALSE(Seconds(File(frames + Zeros(70'000))));
  EXPECT_EQ(Seconds(File(frames + Zeros(70'000), 0, 80'000)), 2 * kBlock);
  EXPECT_FALSE(Seconds(File(frames + Zeros(2'000'000), 0, 3'000'000)));
}

TEST(FlacEndTest, NothingIsToldOfOtherFiles) {
  EXPECT_FALSE(Seconds(File(Frame("\0"s), 4096))) << "the header tells it";
  EXPECT_FALSE(Seconds(File("")));
  EXPECT_FALSE(Seconds(File(Zeros(100) + Frame("\1"s)))) << "no first frame";
  EXPECT_FALSE(Seconds("OggS" + File(Frame("\0"s)).substr(4)));
  EXPECT_FALSE(Seconds(""));
}

}  // namespace
}  // namespace media_server
