#include "media-server/codec/sei.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

SeiFacts Read(const std::vector<std::uint8_t>& payload) {
  SeiFacts facts;
  ReadSei(payload, facts);
  return facts;
}

TEST(Sei, ReadsSeveralMessagesOfOneUnit) {
  const SeiFacts facts = Read(Hex("90 04 03e80190  93 01 12  a5 02 0000  80"));
  EXPECT_TRUE(facts.alpha_channel);
  EXPECT_EQ(facts.preferred_transfer, 18);
  EXPECT_FALSE(facts.mastering_display);
}

TEST(Sei, AddsUpLongTypesAndSizes) {
  std::vector<std::uint8_t> payload = Hex("05 ff 01");  // 256 bytes of unregistered user data
  payload.resize(payload.size() + 256);
  const auto next = Hex("93 01 12 80");
  payload.insert(payload.end(), next.begin(), next.end());
  EXPECT_EQ(Read(payload).preferred_transfer, 18);
}

TEST(Sei, LeavesOutMessagesCutShort) {
  EXPECT_EQ(Read(Hex("93 02 12")).preferred_transfer, std::nullopt);
  EXPECT_FALSE(Read(Hex("89 08 0000000000000000 80")).mastering_display);
}

TEST(Sei, LeavesOutReservedTransfers) {
  EXPECT_EQ(Read(Hex("93 01 02 80")).preferred_transfer, std::nullopt);
  EXPECT_EQ(Read(Hex("93 01 13 80")).preferred_transfer, std::nullopt);
}

TEST(Sei, ReadsFramePackingUnlessCancelled) {
  // arrangement identifier 0, cancel flag, type in seven bits
  EXPECT_EQ(Read(Hex("2d 02 8300 80")).frame_packing, std::nullopt) << "type 6 does not exist";
  EXPECT_EQ(Read(Hex("2d 02 8180 80")).frame_packing, FramePacking::kSideBySide);
  EXPECT_EQ(Read(Hex("2d 02 8200 80")).frame_packing, FramePacking::kTopBottom);
  EXPECT_EQ(Read(Hex("2d 02 c180 80")).frame_packing, std::nullopt);
}

TEST(Sei, ReadsAnAlphaChannelUnlessCancelled) {
  EXPECT_TRUE(Read(Hex("a5 02 0000 80")).alpha_channel);
  EXPECT_FALSE(Read(Hex("a5 02 8000 80")).alpha_channel);
}

}  // namespace
}  // namespace media_server::codec
