#include "media-server/image/box_view.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/media-server/container/mp4_builder.h"

namespace media_server::image {
namespace {

std::vector<std::uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }

TEST(BoxView, WalksNeighbours) {
  const auto bytes = Bytes(Box("irot", "a") + Box("imir"));
  ByteReader reader(bytes);
  const auto first = NextBox(reader);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->type, "irot");
  EXPECT_EQ(AsText(first->payload), "a");
  const auto second = NextBox(reader);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->type, "imir");
  EXPECT_TRUE(second->payload.empty());
  EXPECT_FALSE(NextBox(reader));
}

TEST(BoxView, ReadsSizesOf64Bits) {
  const auto bytes = Bytes(Be(1, 4) + "colr" + Be(18, 8) + "ab" + Box("free"));
  ByteReader reader(bytes);
  EXPECT_EQ(AsText(NextBox(reader)->payload), "ab");
  EXPECT_EQ(NextBox(reader)->type, "free");
}

TEST(BoxView, ABoxThatReachesBeyondTheBytesIsCut) {
  for (const std::uint32_t size : {0U, 12U, UINT32_MAX}) {
    const auto bytes = Bytes(Be(size, 4) + "colr" + "abc");
    ByteReader reader(bytes);
    const auto box = NextBox(reader);
    ASSERT_TRUE(box) << size;
    EXPECT_EQ(AsText(box->payload), "abc") << size;
    EXPECT_FALSE(NextBox(reader));
  }
}

TEST(BoxView, ASizeBelowTheHeadersEndsTheWalk) {
  for (const std::string& header : {Be(7, 4) + "colr", Be(2, 4) + "colr", Be(1, 4) + "colr" + Be(15, 8)}) {
    const auto bytes = Bytes(header + "abcdef");
    ByteReader reader(bytes);
    EXPECT_FALSE(NextBox(reader));
  }
}

TEST(BoxView, FindsTheFirstOfAType) {
  const auto bytes = Bytes(Box("free", "x") + Box("ipco", "1") + Box("ipco", "2"));
  ASSERT_TRUE(FindBox(bytes, "ipco"));
  EXPECT_EQ(AsText(FindBox(bytes, "ipco")->payload), "1");
  EXPECT_FALSE(FindBox(bytes, "ipma"));
}

}  // namespace
}  // namespace media_server::image
