#include "media-server/codec/nal.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using Units = std::vector<std::vector<std::uint8_t>>;

Units UnitsOf(const std::vector<std::uint8_t>& bytes, int length_size) {
  Units units;
  NalReader reader(bytes, length_size);
  for (auto nal = reader.Next(); !nal.empty(); nal = reader.Next()) units.emplace_back(nal.begin(), nal.end());
  return units;
}

TEST(NalReader, SplitsAtStartCodesOfBothLengths) {
  EXPECT_EQ(UnitsOf(Hex("00000001 6701 000001 6802 00000001 65"), kAnnexB),
            (Units{{0x67, 0x01}, {0x68, 0x02}, {0x65}}));
}

TEST(NalReader, DropsBytesBeforeTheFirstStartCodeAndTrailingZeros) {
  EXPECT_EQ(UnitsOf(Hex("ffff 000001 6701 0000000000"), kAnnexB), (Units{{0x67, 0x01}}));
}

TEST(NalReader, SkipsEmptyUnits) {
  EXPECT_EQ(UnitsOf(Hex("000001 000001 00000001 68"), kAnnexB), (Units{{0x68}}));
  EXPECT_EQ(UnitsOf(Hex("0000 0001 68"), 2), (Units{{0x68}}));
}

TEST(NalReader, FindsNothingWithoutStartCode) { EXPECT_EQ(UnitsOf(Hex("67 01 02 00 00"), kAnnexB), Units{}); }

TEST(NalReader, SplitsByLengthsOfOneToFourBytes) {
  EXPECT_EQ(UnitsOf(Hex("01 67 02 6801"), 1), (Units{{0x67}, {0x68, 0x01}}));
  EXPECT_EQ(UnitsOf(Hex("0001 67 0002 6801"), 2), (Units{{0x67}, {0x68, 0x01}}));
  EXPECT_EQ(UnitsOf(Hex("000001 67 000002 6801"), 3), (Units{{0x67}, {0x68, 0x01}}));
  EXPECT_EQ(UnitsOf(Hex("00000001 67 00000002 6801"), 4), (Units{{0x67}, {0x68, 0x01}}));
}

TEST(NalReader, GivesWhatIsThereOfAUnitCutShort) {
  EXPECT_EQ(UnitsOf(Hex("ffffffff 65 88"), 4), (Units{{0x65, 0x88}}));
  EXPECT_EQ(UnitsOf(Hex("00000001"), 4), Units{});
}

TEST(StartCodeReader, KeepsZerosInFrontOfTheNextStartCode) {
  const auto bytes = Hex("00 000001 b3 1600 00000001 b5 00");
  StartCodeReader reader(bytes);
  const auto first = reader.Next();
  EXPECT_EQ(std::vector(first.begin(), first.end()), Hex("b3 1600 00"));
  const auto second = reader.Next();
  EXPECT_EQ(std::vector(second.begin(), second.end()), Hex("b5 00"));
  EXPECT_TRUE(reader.Next().empty());
}

TEST(FitLastNal, ShortensTheUnitThatLeadsPastTheEnd) {
  auto sample = Hex("00000001 67 00010000 65 88 84");
  FitLastNal(sample, 4);
  EXPECT_EQ(sample, Hex("00000001 67 00000003 65 88 84"));
  sample = Hex("02 6701 ff 65");
  FitLastNal(sample, 1);
  EXPECT_EQ(sample, Hex("02 6701 01 65"));
}

TEST(FitLastNal, LeavesWholeUnitsAndStartCodesAlone) {
  auto sample = Hex("0001 67 0002 6588");
  FitLastNal(sample, 2);
  EXPECT_EQ(sample, Hex("0001 67 0002 6588"));
  sample = Hex("0001 67 00");
  FitLastNal(sample, 2);
  EXPECT_EQ(sample, Hex("0001 67 00"));
  sample = Hex("00000001 67 00000001 65");
  FitLastNal(sample, kAnnexB);
  EXPECT_EQ(sample, Hex("00000001 67 00000001 65"));
  std::vector<std::uint8_t> nothing;
  FitLastNal(nothing, 4);
  EXPECT_TRUE(nothing.empty());
}

TEST(NalPayload, RemovesEmulationPreventionBytes) {
  EXPECT_EQ(NalPayload(Hex("67 000003 01 000003 000003 03"), 1), Hex("0000 01 0000 0000 03"));
}

TEST(NalPayload, KeepsAThreeThatProtectsNothing) { EXPECT_EQ(NalPayload(Hex("67 00 03 0103"), 1), Hex("00 03 0103")); }

TEST(NalPayload, StopsAtItsLimitAndAtShortUnits) {
  EXPECT_EQ(NalPayload(Hex("42 01 0a 0b 0c"), 2, 4), Hex("0a 0b"));
  EXPECT_EQ(NalPayload(Hex("42"), 2), Hex(""));
}

}  // namespace
}  // namespace media_server::codec
