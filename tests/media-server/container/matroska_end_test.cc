#include "media-server/container/matroska_end.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/media-server/container/matroska_elements.h"

namespace media_server {
namespace {

using namespace std::string_literals;

constexpr std::uint32_t kCluster = 0x1F43B675;

std::string Time(std::uint64_t ticks) { return Element(0xE7, Be(ticks, 4)); }
std::string Cluster(std::uint64_t time, const std::string& blocks) { return Element(kCluster, Time(time) + blocks); }
std::string EndlessCluster(std::uint64_t time, const std::string& blocks) {
  return EndlessElement(kCluster) + Time(time) + blocks;
}
std::string SimpleBlock(std::uint8_t track, int time, std::size_t size = 5) {
  return Element(0xA3, BlockContent(track, Zeros(size), 0x80, time));
}
/// Frames of 40 ticks.
std::string Frames(int count, std::size_t size = 5) {
  std::string frames;
  for (int i = 0; i < count; ++i) frames += SimpleBlock(1, 40 * i, size);
  return frames;
}

MatroskaScan TwoTracks() {
  MatroskaScan scan;
  scan.tracks.resize(2);
  scan.tracks[0].number = 1;
  scan.tracks[1].number = 2;
  return scan;
}

std::optional<double> End(const std::string& clusters, const MatroskaScan& scan = TwoTracks()) {
  MemorySource source(Element(0x1A45DFA3, "header") + EndlessElement(0x18538067) + clusters);
  return ReadMatroskaEnd(source, scan);
}

TEST(MatroskaEndTest, IsThatOfTheLastFrameOfTheLastCluster) {
  EXPECT_EQ(End(Cluster(0, Frames(25)) + Cluster(1000, Frames(5))), 1.2);
  EXPECT_EQ(End(EndlessCluster(0, Frames(25)) + EndlessCluster(1000, Frames(5))), 1.2);
}

TEST(MatroskaEndTest, TheLatestOfAllTracksCounts) {
  EXPECT_EQ(End(Cluster(1000, Frames(5) + SimpleBlock(2, 150) + SimpleBlock(2, 200))), 1.25);
}

TEST(MatroskaEndTest, FramesMayStandInAnotherOrderThanTheyAreShown) {
  EXPECT_EQ(End(Cluster(0, SimpleBlock(1, 0) + SimpleBlock(1, 120) + SimpleBlock(1, 40) + SimpleBlock(1, 80))), 0.16);
  EXPECT_EQ(End(Cluster(100, SimpleBlock(1, -100))), 0);
}

TEST(MatroskaEndTest, TheTrackTellsHowLongAFrameIs) {
  MatroskaScan scan = TwoTracks();
  scan.tracks[0].frame_ns = 20'000'000;
  EXPECT_EQ(End(Cluster(1000, Frames(2)), scan), 1.06);
}

TEST(MatroskaEndTest, WhatStandsBesideAFrameCountsMore) {
  const auto group = [](const std::string& more) {
    return Cluster(0, Frames(2) + Element(0xA0, more + Element(0xA1, BlockContent(1, "x", 0, 80))));
  };
  EXPECT_EQ(End(group("")), 0.12);
  EXPECT_EQ(End(group(Element(0x9B, Be(5, 1)))), 0.085);
  EXPECT_EQ(End(group(Element(0x75A2, Be(30'000'000, 4)))), 0.09) << "padding in nanoseconds";
  EXPECT_EQ(End(group(Element(0x75A2, Be(-10'000'000ULL, 4)))), 0.13);
}

TEST(MatroskaEndTest, TicksAreAsLongAsTheFileSays) {
  MatroskaScan scan = TwoTracks();
  scan.tick_ns = 1e5;
  EXPECT_EQ(End(Cluster(1000, Frames(5)), scan), 0.12);
}

TEST(MatroskaEndTest, OtherElementsMayStandInAndBehindTheCluster) {
  const std::string around = Element(0xBF, "four") + Element(0xA7, "x") + Element(0xAB, "x") + Element(0xEC, "void");
  EXPECT_EQ(End(Element(kCluster, around + Time(1000) + around + Frames(5) + around) + Element(0x1C53BB6B, "cues")),
            1.2);
  EXPECT_EQ(End(EndlessCluster(1000, Frames(5)) + Element(0x1C53BB6B, "cues")), 1.2);
}

TEST(MatroskaEndTest, AFileMayBeCut) {
  const std::string whole = Cluster(0, Frames(25)) + Cluster(1000, Frames(5));
  const auto without = [&](std::size_t cut) { return End(whole.substr(0, whole.size() - cut)); };
  constexpr std::size_t kBehindTime = 6;
  constexpr std::size_t kBlock = 18;
  for (std::size_t cut = 1; cut <= kBlock; ++cut) EXPECT_EQ(without(cut), cut <= kBehindTime ? 1.2 : 1.16) << cut;
}

TEST(MatroskaEndTest, LettersOfAnIdInAFrameAreNoCluster) {
  const std::string id = "\x1F\x43\xB6\x75"s;
  for (const std::string& text : {id, id + "\x81\xE7"s, id + "\x88\xA3\x80"s + Zeros(10), id + Be(~0ULL, 8)}) {
    EXPECT_EQ(End(Cluster(1000, Frames(4) + Element(0xA3, BlockContent(1, text, 0x80, 160)))), 1.2);
  }
}

TEST(MatroskaEndTest, AClusterIsFoundWhereverItBegins) {
  for (const std::size_t size : {60'000, 70'000, 250'000, 400'000, 600'000}) {
    for (std::size_t shift = 0; shift < 24; ++shift) {
      EXPECT_EQ(
          End(EndlessCluster(0, Frames(2, 1'000'000)) + EndlessCluster(1000, Frames(1, size + shift) + Frames(5))), 1.2)
          << size + shift;
    }
  }
}

TEST(MatroskaEndTest, LargeClustersThatTellTheirSizesAreWalkedOver) {
  const std::string clusters = Cluster(0, Frames(25, 40'000)) + Cluster(1000, Frames(25, 40'000));
  EXPECT_EQ(End(clusters), 2.0);
  EXPECT_FALSE(End(EndlessCluster(0, Frames(25, 40'000)) + EndlessCluster(1000, Frames(25, 40'000))));
  RemoteSource remote(Element(0x1A45DFA3, "header") + EndlessElement(0x18538067) + clusters);
  EXPECT_FALSE(ReadMatroskaEnd(remote, TwoTracks())) << "a request for each";
}

TEST(MatroskaEndTest, AWalkHasAnEnd) {
  const std::string last = Cluster(1000, Frames(25, 40'000));
  std::string clusters;
  for (int i = 0; i < 999; ++i) clusters += Cluster(0, "");
  EXPECT_EQ(End(clusters + last), 2.0);
  EXPECT_FALSE(End(clusters + Cluster(0, "") + last));
}

TEST(MatroskaEndTest, NothingIsToldWithoutAFrame) {
  EXPECT_FALSE(End(""));
  EXPECT_FALSE(End(Cluster(1000, "")));
  EXPECT_FALSE(End(Element(kCluster, Frames(5)))) << "no time";
  MemorySource unknown(EndlessElement(0x18538067) + Cluster(1000, Frames(5)));
  unknown.ForgetSize();
  EXPECT_FALSE(ReadMatroskaEnd(unknown, TwoTracks()));
}

TEST(MatroskaEndTest, FoundIdsAreBounded) {
  std::string many;
  for (int i = 0; i < 63; ++i) many += EndlessElement(kCluster);
  EXPECT_EQ(End(Cluster(1000, Frames(5)) + many), 1.2);
  EXPECT_FALSE(End(EndlessCluster(1000, Frames(5)) + many + EndlessElement(kCluster)));
}

}  // namespace
}  // namespace media_server
