#include "service-mediainfo/media_info/stream_type_lookup.h"

#include <gtest/gtest.h>

#include <string>

namespace service::mediainfo::media_info::impl {
namespace {

/// "1-101,2-102,..." of `count` pairs.
std::string Pairs(int count) {
  std::string pairs;
  for (int id = 1; id <= count; ++id) pairs += std::to_string(id) + '-' + std::to_string(100 + id) + ',';
  return pairs;
}

TEST(StreamTypeLookupTest, FindsTheTypeOfAStream) {
  constexpr char kText[] = "StreamNums:2 StreamID_Type:1-0,2-1";
  EXPECT_EQ(FindStreamType(kText, 1), 0);
  EXPECT_EQ(FindStreamType(kText, 2), 1);
  EXPECT_EQ(FindStreamType(kText, 3), std::nullopt);
}

TEST(StreamTypeLookupTest, FindsTheFieldsInAnyOrderAndPlace) {
  EXPECT_EQ(FindStreamType("x StreamID_Type:1-5;y StreamNums:1z", 1), 5);
  EXPECT_EQ(FindStreamType("StreamID_Type:1-5 StreamNums:1", 1), 5);
}

TEST(StreamTypeLookupTest, FindsNothingWithoutAList) {
  EXPECT_EQ(FindStreamType("", 0), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2", 0), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:", 0), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:x1-0", 0), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type: 1-0", 1), std::nullopt);
}

TEST(StreamTypeLookupTest, FindsNothingWithoutACount) {
  EXPECT_EQ(FindStreamType("StreamID_Type:1-0,2-1", 2), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:x StreamID_Type:1-0,2-1", 2), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:0 StreamID_Type:1-0,2-1", 2), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:-2 StreamID_Type:1-0,2-1", 2), std::nullopt);
}

TEST(StreamTypeLookupTest, TakesOnlyTheFirstOfTwoFields) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamNums:2 StreamID_Type:1-0,2-1", 2), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7-3 StreamID_Type:8-4", 8), std::nullopt);
}

TEST(StreamTypeLookupTest, ReadsThreeDigitsOfTheCount) {
  // 123 pairs, not 1234 and not 12.
  const std::string text = "StreamNums:1234 StreamID_Type:" + Pairs(119);
  EXPECT_EQ(FindStreamType(text, 13), 113);
  EXPECT_EQ(FindStreamType(text, 119), 219);
  EXPECT_EQ(FindStreamType("StreamNums:0021 StreamID_Type:1-5,2-6,3-7", 2), 6);
  EXPECT_EQ(FindStreamType("StreamNums:0021 StreamID_Type:1-5,2-6,3-7", 3), std::nullopt);
}

TEST(StreamTypeLookupTest, IgnoresPairsPastTheCount) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:1-5,2-6", 2), std::nullopt);
}

TEST(StreamTypeLookupTest, CountsMissingPairsAsZero) {
  EXPECT_EQ(FindStreamType("StreamNums:3 StreamID_Type:1-5,2-6", 0), 0);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:1-5,2-6", 0), std::nullopt);
}

TEST(StreamTypeLookupTest, TakesTheFirstOfTwoPairsWithOneId) {
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:1-5,1-6", 1), 5);
}

TEST(StreamTypeLookupTest, SkipsLaterHyphens) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7-1-2", 7), 12);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7--3-", 7), 3);
}

TEST(StreamTypeLookupTest, CountsMissingPartsAsZero) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7", 7), 0);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7-", 7), 0);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:-4", 0), 4);
}

TEST(StreamTypeLookupTest, TakesCommasInARowAsOne) {
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:,,1-5,,2-6,", 2), 6);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:,", 0), 0);
}

TEST(StreamTypeLookupTest, ReadsLeadingZerosAsDecimal) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:010-011", 10), 11);
}

TEST(StreamTypeLookupTest, ReadsOnly899CharactersOfTheList) {
  const std::string filler(893, ',');  // and "12-34," up to character 899
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:" + filler + "12-34,56-78", 12), 34);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:" + filler + "12-34,56-78", 56), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:" + filler + "-12-345,", 0), 1234);
}

TEST(StreamTypeLookupTest, ReadsOnly128Pairs) {
  std::string text = "StreamNums:999 StreamID_Type:";
  for (int pair = 0; pair < 127; ++pair) text += "1-1,";
  EXPECT_EQ(FindStreamType(text + "2-7,3-8", 2), 7);
  EXPECT_EQ(FindStreamType(text + "2-7,3-8", 3), std::nullopt);
  EXPECT_EQ(FindStreamType(text + "2-7", 0), std::nullopt);
}

TEST(StreamTypeLookupTest, IgnoresPairsWithOverlongParts) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:000000000000007-000000000000005", 7), 5);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:0000000000000007-5", 7), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:7-0000000000000005", 7), std::nullopt);
  EXPECT_EQ(FindStreamType("StreamNums:2 StreamID_Type:0000000000000007-5,7-6", 7), 6);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:" + std::string(800, '9') + "-1", 0), std::nullopt);
}

TEST(StreamTypeLookupTest, ComparesIdsAsWholeNumbers) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:4294967295-1", 4294967295u), 1);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:4294967297-1", 1), std::nullopt);
}

TEST(StreamTypeLookupTest, GivesTheLow32BitsOfAType) {
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:1-2147483647", 1), 2147483647);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:1-4294967295", 1), -1);
  EXPECT_EQ(FindStreamType("StreamNums:1 StreamID_Type:1-4294967298", 1), 2);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
