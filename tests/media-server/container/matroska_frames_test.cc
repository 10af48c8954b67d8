#include "media-server/container/matroska_frames.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/media-server/container/matroska_elements.h"

namespace media_server {
namespace {

std::string Cluster(const std::string& content) { return Element(0x1F43B675, Element(0xE7, Be(0, 1)) + content); }
std::string SimpleBlock(std::uint8_t track, const std::string& frame, std::uint8_t flags = 0x80) {
  return Element(0xA3, BlockContent(track, frame, flags));
}
std::string BlockGroup(std::uint8_t track, const std::string& frame) {
  return Element(0xA0, Element(0x9B, Be(40, 1)) + Element(0xA1, BlockContent(track, frame, 0)));
}

/// The frames of track 1.
std::vector<std::string> FramesIn(const std::string& bytes) {
  MemorySource source(bytes);
  MatroskaFrames frames(source, 1);
  std::vector<std::string> texts;
  for (auto frame = frames.Next(); !frame.empty(); frame = frames.Next()) {
    texts.emplace_back(frame.begin(), frame.end());
  }
  return texts;
}

using Texts = std::vector<std::string>;

TEST(MatroskaFramesTest, FindsTheFramesOfOneTrack) {
  EXPECT_EQ(FramesIn(Element(0x1A45DFA3, "header") +
                     Segment(Element(0x1549A966, "info") + Cluster(SimpleBlock(1, "one") + SimpleBlock(2, "sound")) +
                             Cluster(BlockGroup(2, "sound") + BlockGroup(1, "two") + SimpleBlock(1, "three")))),
            (Texts{"one", "two", "three"}));
}

TEST(MatroskaFramesTest, GoesIntoClustersOfUnknownSize) {
  const std::string unknown = EndlessElement(0x1F43B675);
  EXPECT_EQ(FramesIn(Segment(unknown + SimpleBlock(1, "one") + unknown + SimpleBlock(1, "two"))),
            (Texts{"one", "two"}));
}

TEST(MatroskaFramesTest, ReadsLongTrackNumbers) {
  MemorySource source(Segment(Cluster(Element(0xA3, Be(0x4123, 2) + Be(0, 2) + Be(0x80, 1) + "frame"))));
  EXPECT_EQ(MatroskaFrames(source, 0x123).Next().size(), 5u);
}

TEST(MatroskaFramesTest, ReadsLittleOfALargeFrame) {
  const std::string large(100'000, 'x');
  MemorySource source(Segment(Cluster(SimpleBlock(1, large) + SimpleBlock(1, "two"))));
  MatroskaFrames frames(source, 1);
  EXPECT_EQ(frames.Next().size(), MatroskaFrames::kFrameStart);
  EXPECT_EQ(frames.Next().size(), 3u);
  EXPECT_LT(source.BytesRead(), 1024u);
}

TEST(MatroskaFramesTest, EndsAtABlockThatIsCut) {
  const std::string whole = Segment(Cluster(SimpleBlock(1, "one") + SimpleBlock(1, "two")));
  EXPECT_EQ(FramesIn(whole.substr(0, whole.size() - 1)), (Texts{"one"}));
}

TEST(MatroskaFramesTest, EndsAtLacedAndEmptyBlocks) {
  EXPECT_EQ(FramesIn(Segment(Cluster(SimpleBlock(1, "laced", 0x82) + SimpleBlock(1, "two")))), Texts());
  EXPECT_EQ(FramesIn(Segment(Cluster(SimpleBlock(1, "") + SimpleBlock(1, "two")))), Texts());
  EXPECT_EQ(FramesIn(Segment(Cluster(Element(0xA3, "") + SimpleBlock(1, "two")))), Texts{"two"}) << "of no track";
}

TEST(MatroskaFramesTest, EndsAtOtherBytes) {
  EXPECT_EQ(FramesIn(""), Texts());
  EXPECT_EQ(FramesIn(Segment(Cluster(SimpleBlock(1, "one") + Zeros(40) + SimpleBlock(1, "two")))), Texts{"one"});
  EXPECT_EQ(FramesIn(Segment(EndlessElement(0xEC) + SimpleBlock(1, "one"))), Texts())
      << "an element without end that holds no blocks";
}

TEST(MatroskaFramesTest, GivesUpBehindManyElements) {
  std::string voids;
  for (int i = 0; i < 1021; ++i) voids += Element(0xEC, "");
  const std::string last_two = EndlessElement(0x1F43B675) + SimpleBlock(1, "one");
  EXPECT_EQ(FramesIn(Segment(voids + last_two)), Texts{"one"});
  EXPECT_EQ(FramesIn(Segment(voids + Element(0xEC, "") + last_two)), Texts());
}

}  // namespace
}  // namespace media_server
