#include "media-server/probe/gop.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

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

}  // namespace
}  // namespace media_server::probe
