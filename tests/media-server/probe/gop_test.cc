#include "media-server/probe/gop.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/media-server/container/matroska_elements.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

/// Pictures in coded order from a text of their letters.
std::optional<std::string> GopOf(std::string_view letters) {
  std::vector<GopPicture> pictures;
  for (const char letter : letters) {
    pictures.push_back(letter == 'I' ? GopPicture::kIntra : letter == 'P' ? GopPicture::kAnchor : GopPicture::kBetween);
  }
  return GopText(pictures);
}

TEST(GopTest, TellsRegularGroups) {
  EXPECT_EQ(GopOf("IPPPIPPPIPPPI"), "M=1, N=4");
  EXPECT_EQ(GopOf("IBBPBBIBBPBBIBBPBBI"), "M=3, N=6");
  EXPECT_EQ(GopOf("IIIII"), "M=1, N=1");
}

TEST(GopTest, LeavesAShorterFirstGroupOut) { EXPECT_EQ(GopOf("IPBBIBBPBBIBBPBBIBBPBBI"), "M=3, N=6"); }

TEST(GopTest, TakesAFirstGroupForWholeThatLacksOnlyPicturesShownBeforeIt) {
  EXPECT_EQ(GopOf("IPBBIBBPBBI"), "M=3, N=6");
  EXPECT_EQ(GopOf("IIBBI"), "M=3, N=3");
  EXPECT_EQ(GopOf("PBBIPBBIBBPBBIB"), "M=3, N=6") << "behind pictures of a group whose beginning is cut off";
  EXPECT_EQ(GopOf("IPBBIBBPBBPBBI"), std::nullopt) << "it lacks more";
}

TEST(GopTest, SaysNothingOfIrregularGroups) {
  EXPECT_EQ(GopOf("IPPPIPPIPPPIPPPPPI"), std::nullopt) << "groups of several sizes";
  EXPECT_EQ(GopOf("IBPBBPIBPBBPIBPBBPI"), std::nullopt) << "anchors at several distances";
}

TEST(GopTest, SaysNothingOfTooFewPictures) {
  EXPECT_EQ(GopOf(""), std::nullopt);
  EXPECT_EQ(GopOf("PPPP"), std::nullopt);
  EXPECT_EQ(GopOf("IPPPPP"), std::nullopt);
  EXPECT_EQ(GopOf("IPPPIPPP"), std::nullopt) << "one whole group proves no rule";
}

/// A Matroska file's segment with a block of 100 kB for each picture of track 1, and one of sound in front of each.
std::string MatroskaOf(std::string_view letters) {
  std::string blocks;
  const auto add_block = [&](std::uint8_t track, const std::string& frame) {
    blocks += Element(0xA3, BlockContent(track, frame, 0x80));
  };
  for (const char letter : letters) {
    const std::uint8_t type = letter == 'I' ? 1 : letter == 'P' ? 2 : letter == 'B' ? 3 : 0;
    add_block(2, "sound");
    add_block(1, Be(0x100, 4) + Be(static_cast<std::uint64_t>(type) << 19 | 0xFFFF, 4) + Zeros(100'000));
  }
  return Segment(blocks);
}

TEST(GopTest, ReadsTheBeginningsOfMatroskaFrames) {
  MemorySource source(MatroskaOf("IPBBIBBPBBIBBPBB"));
  EXPECT_EQ(GopOfFrames(source, 1), "M=3, N=6");
  EXPECT_LT(source.BytesRead(), 20'000u);
  EXPECT_EQ(GopOfFrames(source, 2), std::nullopt) << "sound";
}

TEST(GopTest, AFrameWithoutPictureHeaderEndsWhatIsSeen) {
  MemorySource source(MatroskaOf("IPPPIPPPI-IPI"));
  EXPECT_EQ(GopOfFrames(source, 1), "M=1, N=4");
}

TEST(GopTest, LooksAtFramesOfThreeSecondsAtMost) {
  std::string letters = "I";
  for (int i = 0; i < 26; ++i) letters += "PPI";
  MemorySource regular_at_first(MatroskaOf(letters + "P" + "III"));
  EXPECT_EQ(GopOfFrames(regular_at_first, 1), "M=1, N=3");
  MemorySource irregular(MatroskaOf(letters + "II"));
  EXPECT_EQ(GopOfFrames(irregular, 1), std::nullopt);
}

}  // namespace
}  // namespace media_server::probe
