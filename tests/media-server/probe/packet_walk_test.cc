#include "media-server/probe/packet_walk.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using End = PacketWalk::End;

/// An IVF file with a frame of each size.
std::string Ivf(const std::vector<int>& frame_sizes) {
  std::string file = "DKIF" + Le(0, 2) + Le(32, 2) + "VP80" + Le(64, 2) + Le(48, 2) + Le(25, 4) + Le(1, 4) +
                     Le(frame_sizes.size(), 4) + Zeros(4);
  std::uint64_t time = 0;
  for (const int size : frame_sizes) {
    file += Le(static_cast<std::uint64_t>(size), 4) + Le(time++, 8) + Zeros(static_cast<std::size_t>(size));
  }
  return file;
}

/// Fails where a server would break off.
class FailingSource final : public MemorySource {
 public:
  FailingSource(const std::string& file, std::uint64_t fails_at) : MemorySource(file), fails_at_(fails_at) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    if (offset + out.size() > fails_at_) return 0;
    return MemorySource::ReadAt(offset, out);
  }
  const char* ReadFailure() const override { return "broken off"; }

 private:
  std::uint64_t fails_at_;
};

/// A file of ours, opened.
class OpenFile {
 public:
  explicit OpenFile(IByteSource& source) : bounded_(source, ReadBudget()) {
    std::string reason;
    demuxer_ = Demuxer::Open(bounded_, {.demuxer = "ivf"}, &reason);
    EXPECT_NE(demuxer_, nullptr) << reason;
  }

  AVFormatContext& Context() const { return demuxer_->Context(); }

 private:
  BoundedSource bounded_;
  std::unique_ptr<Demuxer> demuxer_;
};

std::vector<int> SizesOf(PacketWalk& walk) {
  std::vector<int> sizes;
  while (const AVPacket* packet = walk.Next()) sizes.push_back(packet->size);
  return sizes;
}

TEST(PacketWalkTest, GivesAllPacketsOfAShortFile) {
  MemorySource source(Ivf({300, 100, 200}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {});
  EXPECT_EQ(SizesOf(walk), (std::vector{300, 100, 200}));
  EXPECT_EQ(walk.ReachedEnd(), End::kFile);
  EXPECT_EQ(walk.Seen().bytes, 600u);
}

TEST(PacketWalkTest, HasReachedNoEndWhereItsUserHasSeenEnough) {
  MemorySource source(Ivf({300, 100}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {.packets = 2});
  ASSERT_NE(walk.Next(), nullptr);
  EXPECT_EQ(walk.ReachedEnd(), End::kNone);
  ASSERT_NE(walk.Next(), nullptr);
  EXPECT_EQ(walk.ReachedEnd(), End::kNone);
  EXPECT_EQ(walk.Seen().bytes, 400u);
}

TEST(PacketWalkTest, EndsBehindSoManyPackets) {
  MemorySource source(Ivf({300, 100, 200}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {.packets = 2});
  EXPECT_EQ(SizesOf(walk), (std::vector{300, 100}));
  EXPECT_EQ(walk.ReachedEnd(), End::kBound);
}

TEST(PacketWalkTest, EndsBehindThePacketThatFillsTheBytes) {
  MemorySource source(Ivf({300, 100, 200}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {.bytes = 400});
  EXPECT_EQ(SizesOf(walk), (std::vector{300, 100}));
  EXPECT_EQ(walk.ReachedEnd(), End::kBound);
}

TEST(PacketWalkTest, GivesTheWholePacketThatLeadsPastTheBytes) {
  MemorySource source(Ivf({300, 100, 200}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {.bytes = 301});
  EXPECT_EQ(SizesOf(walk), (std::vector{300, 100}));
  EXPECT_EQ(walk.Seen().bytes, 400u);
}

TEST(PacketWalkTest, LeavesWhatLiesBehindABoundToTheNext) {
  MemorySource source(Ivf({300, 100, 200}));
  const OpenFile file(source);
  PacketWalk first(file.Context(), {.packets = 1});
  EXPECT_EQ(SizesOf(first), (std::vector{300}));
  PacketWalk second(file.Context(), {});
  EXPECT_EQ(SizesOf(second), (std::vector{100, 200}));
}

TEST(PacketWalkTest, ABoundOfNothingReadsNothing) {
  MemorySource source(Ivf({300}));
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {.packets = 0});
  EXPECT_EQ(walk.Next(), nullptr);
  EXPECT_EQ(walk.ReachedEnd(), End::kBound);
  PacketWalk all(file.Context(), {});
  EXPECT_EQ(SizesOf(all), (std::vector{300}));
}

TEST(PacketWalkTest, TellsAnErrorFromTheEndOfTheFile) {
  const std::string bytes = Ivf({30'000, 30'000});
  FailingSource source(bytes, bytes.size() - 30'000);
  const OpenFile file(source);
  PacketWalk walk(file.Context(), {});
  SizesOf(walk);
  EXPECT_EQ(walk.ReachedEnd(), End::kError);
}

}  // namespace
}  // namespace media_server::probe
