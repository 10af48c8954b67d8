#include "media-server/container/mp4_boxes.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "tests/media-server/container/mp4_builder.h"

namespace media_server {
namespace {

TEST(Mp4Boxes, WalksNeighbours) {
  MemorySource source(Box("ftyp", "isom") + Box("free"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto first = boxes.Next(range);
  ASSERT_TRUE(first);
  EXPECT_EQ(first->Type(), "ftyp");
  EXPECT_EQ(first->offset, 0U);
  EXPECT_EQ(first->payload_offset, 8U);
  EXPECT_EQ(first->payload_size, 4U);
  EXPECT_FALSE(first->clipped);
  const auto second = boxes.Next(range);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->Type(), "free");
  EXPECT_EQ(second->offset, 12U);
  EXPECT_EQ(second->payload_size, 0U);
  EXPECT_FALSE(boxes.Next(range));
  EXPECT_FALSE(boxes.BudgetSpent());
}

/// Gives nothing from some place on.
class StingySource final : public MemorySource {
 public:
  StingySource(const std::string& bytes, std::uint64_t gives_before)
      : MemorySource(bytes), gives_before_(gives_before) {}

  std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
    return offset < gives_before_ ? MemorySource::ReadAt(offset, out) : 0;
  }

 private:
  std::uint64_t gives_before_;
};

TEST(Mp4Boxes, ASourceThatGivesNoMoreIsNoEndOfTheInput) {
  const std::string bytes = Box("free", Zeros(3000)) + Box("moov");
  const auto walk_ends_early = [&](std::uint64_t gives_before) {
    StingySource source(bytes, gives_before);
    Mp4BoxReader boxes(source, {});
    Mp4BoxRange range = boxes.WholeInput();
    while (boxes.Next(range)) continue;
    return boxes.BudgetSpent();
  };
  EXPECT_FALSE(walk_ends_early(bytes.size()));
  EXPECT_TRUE(walk_ends_early(1000));
}

TEST(Mp4Boxes, ReadsSizesOf64Bits) {
  MemorySource source(Be(1, 4) + "mdat" + Be(20, 8) + "data" + Box("free"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->payload_offset, 16U);
  EXPECT_EQ(box->payload_size, 4U);
  EXPECT_EQ(boxes.Next(range)->Type(), "free");
}

TEST(Mp4Boxes, SizeZeroReachesToTheEndAtTheTopOnly) {
  MemorySource source(Box("udta", Be(0, 4) + "abcd") + Be(0, 4) + "mdat" + "123456");
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  Mp4BoxRange inner = boxes.Children(*boxes.Next(range));
  EXPECT_FALSE(boxes.Next(inner));
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->payload_size, 6U);
  EXPECT_FALSE(box->clipped);
  EXPECT_FALSE(boxes.Next(range));
}

TEST(Mp4Boxes, UuidBoxesKeepTheirExtendedType) {
  const std::string uuid = "0123456789abcdef";
  MemorySource source(Box("uuid", uuid + "xyz"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_EQ(std::string(box->uuid.begin(), box->uuid.end()), uuid);
  EXPECT_EQ(box->payload_size, 3U);
}

TEST(Mp4Boxes, SizesBeyondTheEndAreClipped) {
  MemorySource source(Be(13, 4) + "mdat" + "1234");  // one byte too many
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_TRUE(box->clipped);
  EXPECT_EQ(box->payload_size, 4U);
  EXPECT_FALSE(boxes.Next(range));
}

TEST(Mp4Boxes, LargestSizeDoesNotWrapAround) {
  MemorySource source(Box("free") + Be(1, 4) + "mdat" + Be(UINT64_MAX, 8));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  boxes.Next(range);
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_TRUE(box->clipped);
  EXPECT_EQ(box->payload_size, 0U);
}

TEST(Mp4Boxes, ImpossibleSizesEndTheWalk) {
  for (const std::string& bytes : {Be(7, 4) + "free", Be(1, 4) + "mdat" + Be(15, 8), Be(20, 4) + "uuid" + Zeros(16)}) {
    MemorySource source(bytes);
    Mp4BoxReader boxes(source, {});
    Mp4BoxRange range = boxes.WholeInput();
    EXPECT_FALSE(boxes.Next(range));
  }
}

TEST(Mp4Boxes, ChildrenEndWithTheirParent) {
  MemorySource source(Box("moov", Be(100, 4) + "trak") + Box("free"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  Mp4BoxRange inner = boxes.Children(*boxes.Next(range));
  const auto child = boxes.Next(inner);
  ASSERT_TRUE(child);
  EXPECT_TRUE(child->clipped);
  EXPECT_EQ(child->payload_size, 0U);
  EXPECT_EQ(child->depth, 1);
}

TEST(Mp4Boxes, SkipBeyondThePayloadLeavesNoChildren) {
  MemorySource source(Box("meta", "abc") + Box("free"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  Mp4BoxRange inner = boxes.Children(*boxes.Next(range), 4);
  EXPECT_FALSE(boxes.Next(inner));
}

TEST(Mp4Boxes, PayloadEndsWithTheBox) {
  MemorySource source(Box("free", "abcdef") + Box("skip"));
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  EXPECT_EQ(boxes.Payload(*box, 3), (std::vector<std::uint8_t>{'a', 'b', 'c'}));
  EXPECT_EQ(boxes.Payload(*box, 100, 4), (std::vector<std::uint8_t>{'e', 'f'}));
  EXPECT_TRUE(boxes.Payload(*box, 100, 6).empty());
  EXPECT_TRUE(boxes.Payload(*box, 100, 7).empty());
}

TEST(Mp4Boxes, NestingStopsAtTheDepthLimit) {
  std::string bytes = Box("free");
  for (int i = 0; i < 40; ++i) bytes = Box("moov", bytes);
  MemorySource source(bytes);
  Mp4BoxReader boxes(source, {.depth = 4});
  Mp4BoxRange range = boxes.WholeInput();
  int levels = 0;
  while (const auto box = boxes.Next(range)) {
    ++levels;
    range = boxes.Children(*box);
  }
  EXPECT_EQ(levels, 4);
  EXPECT_TRUE(boxes.BudgetSpent());
}

TEST(Mp4Boxes, BoxCountIsBounded) {
  std::string bytes;
  for (int i = 0; i < 11; ++i) bytes += Box("free");
  MemorySource source(bytes);
  Mp4BoxReader boxes(source, {.boxes = 10});
  Mp4BoxRange range = boxes.WholeInput();
  int count = 0;
  while (boxes.Next(range)) ++count;
  EXPECT_EQ(count, 10);
  EXPECT_TRUE(boxes.BudgetSpent());
}

TEST(Mp4Boxes, BytesAreBounded) {
  MemorySource source(Box("free", Zeros(100000)));
  Mp4BoxReader boxes(source, {.bytes = 50000});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_TRUE(boxes.Payload(*box, 60000).empty());
  EXPECT_TRUE(boxes.BudgetSpent());
  EXPECT_LE(source.BytesRead(), 50000U);
}

TEST(Mp4Boxes, NeighbouringHeadersCostOneRead) {
  std::string bytes;
  for (int i = 0; i < 50; ++i) bytes += Box("free", "1234");
  MemorySource source(bytes);
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  while (boxes.Next(range)) {
  }
  EXPECT_EQ(source.Reads(), 1U);
}

TEST(Mp4Boxes, InputOfUnknownSizeEndsWhereReadingEnds) {
  MemorySource source(Box("ftyp", "isom") + Box("free"));
  source.ForgetSize();
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  EXPECT_TRUE(boxes.Next(range));
  EXPECT_TRUE(boxes.Next(range));
  EXPECT_FALSE(boxes.Next(range));
}

TEST(Mp4Boxes, WholePayloadsAreAllOrNothing) {
  const std::string whole = Box("uuid", std::string(16, 'u') + "payload") + Be(20, 4) + "free" + "cut";
  MemorySource source(whole);
  Mp4BoxReader boxes(source, {});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_EQ(boxes.WholePayload(*box, 7).size(), 7U);
  EXPECT_TRUE(boxes.WholePayload(*box, 6).empty());
  const auto clipped = boxes.Next(range);
  ASSERT_TRUE(clipped);
  EXPECT_EQ(boxes.Payload(*clipped, 100).size(), 3U);
  EXPECT_TRUE(boxes.WholePayload(*clipped, 100).empty());
}

TEST(Mp4Boxes, WholePayloadsKeepTheByteBudget) {
  MemorySource source(Box("uuid", std::string(16 + 4000, 'u')));
  Mp4BoxReader boxes(source, {.bytes = 2000});
  Mp4BoxRange range = boxes.WholeInput();
  const auto box = boxes.Next(range);
  ASSERT_TRUE(box);
  EXPECT_TRUE(boxes.WholePayload(*box, 5000).empty());
  EXPECT_TRUE(boxes.BudgetSpent());
}

}  // namespace
}  // namespace media_server
