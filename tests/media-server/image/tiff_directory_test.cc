#include "media-server/image/tiff_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

/// The structure that the tests of one byte order and width share.
std::string Sample(std::endian order, bool is_big_tiff) {
  TiffBuilder tiff(order, is_big_tiff);
  tiff.Add(
      {tiff.Short(0x0100, 640), tiff.Long(0x0101, 480), tiff.Byte(0x0102, 7), TiffBuilder::Ascii(0x010F, "A maker"),
       tiff.Short(0x0111, {1, 2, 3, 4, 5}), tiff.Long8(0x0112, 0x1234567890)},
      1);
  tiff.Add({tiff.Short(0x0100, 32)});
  return tiff.Bytes();
}

TEST(TiffDirectory, ReadsBothByteOrdersAndWidths) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const bool is_big_tiff : {false, true}) {
      SCOPED_TRACE(std::string(order == std::endian::big ? "big endian" : "little endian") +
                   (is_big_tiff ? ", big" : ""));
      MemorySource source(Sample(order, is_big_tiff));
      auto walker = TiffWalker::Open(source, 0);
      ASSERT_TRUE(walker);
      EXPECT_EQ(walker->order(), order);
      const auto first = walker->Read(walker->first());
      ASSERT_TRUE(first);
      ASSERT_EQ(first->entries.size(), 6U);
      EXPECT_THAT(walker->Number(*first, 0x0100), Optional(640U));
      EXPECT_THAT(walker->Number(*first, 0x0101), Optional(480U));
      EXPECT_THAT(walker->Number(*first, 0x0102), Optional(7U));
      EXPECT_THAT(walker->Number(*first, 0x0112), Optional(0x1234567890U));
      EXPECT_EQ(walker->Number(*first, 0x010F), std::nullopt);  // a text is no number
      EXPECT_EQ(walker->Number(*first, 0x9999), std::nullopt);
      EXPECT_THAT(walker->Numbers(*first->Find(0x0111), 9), ElementsAre(1, 2, 3, 4, 5));
      EXPECT_THAT(walker->Numbers(*first->Find(0x0111), 2), ElementsAre(1, 2));
      const auto maker = walker->Value(*first->Find(0x010F), 8);
      ASSERT_TRUE(maker);
      EXPECT_EQ(std::string(maker->begin(), maker->end()), "A maker\0"s);
      const auto second = walker->Read(first->next);
      ASSERT_TRUE(second);
      EXPECT_THAT(walker->Number(*second, 0x0100), Optional(32U));
      EXPECT_EQ(second->next, 0U);
    }
  }
}

TEST(TiffDirectory, OffsetsCountFromTheBase) {
  MemorySource source("some carrier" + Sample(std::endian::big, /*is_big_tiff=*/false));
  EXPECT_FALSE(TiffWalker::Open(source, 0));
  auto walker = TiffWalker::Open(source, 12);
  ASSERT_TRUE(walker);
  const auto first = walker->Read(walker->first());
  ASSERT_TRUE(first);
  const auto maker = walker->Value(*first->Find(0x010F), 100);
  ASSERT_TRUE(maker);
  EXPECT_EQ(std::string(maker->begin(), maker->end()), "A maker\0"s);
  const TiffEntry* short_value = first->Find(0x0100);
  EXPECT_EQ(walker->ValuePosition(*short_value), std::nullopt);
  EXPECT_THAT(walker->ValuePosition(*first->Find(0x010F)), Optional(12U + 8 + 2 + 6 * 12 + 4));
}

TEST(TiffDirectory, KnowsTheMagicsOfRawFormats) {
  for (const auto& [magic, number] : {std::pair{"IIRO"s, TiffWalker::kMagicOlympus},
                                      {"IIRS"s, TiffWalker::kMagicOlympusSlim},
                                      {"MMOR"s, TiffWalker::kMagicOlympus},
                                      {"IIU\0"s, TiffWalker::kMagicPanasonic}}) {
    MemorySource source(magic + "\0\0\0\0"s);
    const auto walker = TiffWalker::Open(source, 0);
    ASSERT_TRUE(walker) << magic;
    EXPECT_EQ(walker->magic(), number) << magic;
  }
  for (const std::string& other : {"II\x2c\0\0\0\0\0"s, "MM*\0\0\0\0\0"s, "XX*\0\0\0\0\0"s, "II*\0\0\0\0"s, ""s}) {
    MemorySource source(other);
    EXPECT_FALSE(TiffWalker::Open(source, 0));
  }
}

TEST(TiffDirectory, EachDirectoryIsReadOnce) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(0x0100, 1)}, 1);
  tiff.Add({tiff.Short(0x0100, 2)}, 0);
  MemorySource source(tiff.Bytes());
  auto walker = TiffWalker::Open(source, 0);
  const auto first = walker->Read(walker->first());
  const auto second = walker->Read(first->next);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->next, walker->first());
  EXPECT_FALSE(walker->Read(second->next));
  EXPECT_FALSE(walker->Read(0));
}

TEST(TiffDirectory, AChainOfTenThousandEnds) {
  constexpr int kDirectories = 10000;
  const std::string one_entry = Le(1, 2) + Le(0x0100, 2) + Le(3, 2) + Le(1, 4) + Le(5, 4);
  std::string bytes = "II*\0"s + Le(8, 4);
  for (int i = 0; i < kDirectories; ++i) bytes += one_entry + Le(bytes.size() + one_entry.size() + 4, 4);
  MemorySource source(bytes);
  auto walker = TiffWalker::Open(source, 0);
  std::uint64_t offset = walker->first();
  std::size_t read = 0;
  while (const auto directory = walker->Read(offset)) {
    ++read;
    offset = directory->next;
  }
  EXPECT_EQ(read, 64U);
  EXPECT_LT(source.BytesRead(), 2000U);
}

TEST(TiffDirectory, EntriesPastTheLimitAreLeftOutAndTheChainEnds) {
  for (const std::uint64_t count : {512U, 513U, 65535U}) {
    std::string bytes = "II*\0"s + Le(8, 4) + Le(count, 2);
    for (std::uint64_t i = 0; i < count; ++i) bytes += Le(i, 2) + Le(3, 2) + Le(1, 4) + Le(i, 4);
    bytes += Le(77, 4);
    MemorySource source(bytes);
    auto walker = TiffWalker::Open(source, 0);
    const auto directory = walker->Read(8);
    ASSERT_TRUE(directory);
    EXPECT_EQ(directory->entries.size(), 512U);
    EXPECT_EQ(directory->next, count == 512 ? 77U : 0U);
    EXPECT_LT(source.BytesRead(), 7000U);
  }
}

TEST(TiffDirectory, ACutDirectoryKeepsItsWholeEntries) {
  const std::string whole = Sample(std::endian::little, /*is_big_tiff=*/false);
  constexpr std::size_t kTable = 8 + 2;
  for (std::size_t size = 0; size < kTable + 6 * 12 + 4; ++size) {
    MemorySource source(whole.substr(0, size));
    auto walker = TiffWalker::Open(source, 0);
    ASSERT_EQ(walker.has_value(), size >= 8) << size;
    if (!walker) continue;
    const auto directory = walker->Read(walker->first());
    ASSERT_EQ(directory.has_value(), size >= kTable + 12) << size;
    if (!directory) continue;
    EXPECT_EQ(directory->entries.size(), (size - kTable) / 12 > 6 ? 6 : (size - kTable) / 12) << size;
    EXPECT_EQ(directory->next, 0U) << size;
  }
}

TEST(TiffDirectory, ValuesThatAreNotAllThereAreNone) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Entry(1, 2, 10, Le(1000, 4)),        // past the end
            TiffBuilder::Entry(2, 2, 10, Le(UINT32_MAX, 4)),  // likewise
            TiffBuilder::Entry(3, 12, UINT32_MAX, Le(8, 4)),  // 32 GiB
            TiffBuilder::Entry(4, 4, UINT32_MAX, Le(0, 4)),   // numbers, a few of them in the file
            TiffBuilder::Entry(5, 2, 0, Le(1000, 4)),         // no value at all
            TiffBuilder::Entry(6, 99, 3, "abc\0"s),           // a type that no standard names
            TiffBuilder::Entry(7, 3, 3, Le(94, 4))});         // three numbers in the last four bytes
  MemorySource source(tiff.Bytes());
  auto walker = TiffWalker::Open(source, 0);
  const auto directory = walker->Read(walker->first());
  ASSERT_TRUE(directory);
  constexpr std::size_t kMost = 64 * 1024;
  for (std::uint16_t tag = 1; tag <= 4; ++tag) EXPECT_EQ(walker->Value(*directory->Find(tag), kMost), std::nullopt);
  EXPECT_THAT(walker->Numbers(*directory->Find(4), 2), ElementsAre(0x2A4949, 8));
  EXPECT_THAT(walker->Value(*directory->Find(5), kMost), Optional(IsEmpty()));
  EXPECT_EQ(walker->Number(*directory, 5), std::nullopt);
  EXPECT_THAT(walker->Value(*directory->Find(6), kMost), Optional(ElementsAre('a', 'b', 'c')));
  EXPECT_EQ(walker->Value(*directory->Find(6), 2), std::nullopt);
  EXPECT_EQ(tiff.Bytes().size(), 98U);
  EXPECT_THAT(walker->Numbers(*directory->Find(7), 3), ElementsAre(0, 0));
  EXPECT_LT(source.BytesRead(), 1000U);
}

TEST(TiffDirectory, CountsAndOffsetsOf64BitsDoNotWrapAround) {
  TiffBuilder tiff(std::endian::little, /*is_big_tiff=*/true);
  tiff.Add({TiffBuilder::Entry(1, 4, UINT64_MAX, Le(16, 8)),
            TiffBuilder::Entry(2, 4, std::uint64_t{1} << 62, Le(16, 8)),
            TiffBuilder::Entry(3, 2, 100, Le(UINT64_MAX, 8)), TiffBuilder::Entry(4, 4, 4, Le(UINT64_MAX - 3, 8))});
  MemorySource source("base" + tiff.Bytes());
  auto walker = TiffWalker::Open(source, 4);
  ASSERT_TRUE(walker);
  const auto directory = walker->Read(walker->first());
  ASSERT_TRUE(directory);
  EXPECT_EQ(directory->Find(1)->ByteSize(), std::nullopt);
  EXPECT_EQ(directory->Find(2)->ByteSize(), std::nullopt);
  for (std::uint16_t tag = 1; tag <= 4; ++tag) EXPECT_EQ(walker->Value(*directory->Find(tag), 1 << 20), std::nullopt);
  EXPECT_THAT(walker->Numbers(*directory->Find(3), 4), IsEmpty());
  EXPECT_THAT(walker->Numbers(*directory->Find(4), 4), IsEmpty());
  EXPECT_FALSE(walker->Read(UINT64_MAX));
  EXPECT_FALSE(walker->Read(UINT64_MAX - 4));
}

}  // namespace
}  // namespace media_server::image
