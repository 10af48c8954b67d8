#include "media-server/image/heif_items.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/image/heif_builder.h"

namespace media_server::image {
namespace {

constexpr Mp4BoxLimits kLimits = {.bytes = 256 * 1024};

/// A file that starts with its meta box.
struct MetaFile {
  explicit MetaFile(const std::string& bytes) : source(bytes), reader(source, kLimits), items(reader, *FirstBox()) {}

  std::optional<Mp4Box> FirstBox() {
    Mp4BoxRange range = reader.WholeInput();
    return reader.Next(range);
  }
  std::string Data(std::uint32_t id, std::size_t most = 100) {
    const auto data = items.ReadItem(source, id, most);
    return {data.begin(), data.end()};
  }

  MemorySource source;
  Mp4BoxReader reader;
  HeifItems items;
};

/// A table of one item whose data lie `offset` bytes behind the meta box: sizes of its fields, the entry behind its
/// number.
struct LocationCase {
  std::uint8_t version;
  std::uint16_t field_sizes;
  std::string (*entry)(std::uint64_t offset);
};

std::string FileWith(const LocationCase& location, std::uint64_t offset) {
  const int id_size = location.version < 2 ? 2 : 4;
  return FullBox("meta",
                 FullBox("iloc", Be(location.field_sizes, 2) + Be(1, id_size) + Be(1, id_size) + location.entry(offset),
                         location.version));
}

TEST(HeifItems, FindsDataByEveryKindOfLocation) {
  const LocationCase cases[] = {
      // Version 0: no construction method. Offset and length of 4 bytes.
      {0, 0x4400, [](std::uint64_t offset) { return Be(0, 2) + Be(1, 2) + Be(offset, 4) + Be(4, 4); }},
      // A base offset of 4 bytes, to which the offset is added.
      {0, 0x4440, [](std::uint64_t offset) { return Be(0, 2) + Be(offset - 5, 4) + Be(1, 2) + Be(5, 4) + Be(4, 4); }},
      // The base offset alone: offsets of no bytes are 0.
      {0, 0x0480, [](std::uint64_t offset) { return Be(0, 2) + Be(offset, 8) + Be(1, 2) + Be(4, 4); }},
      // Version 1: construction method. Offset and length of 8 bytes.
      {1, 0x8800, [](std::uint64_t offset) { return Be(0, 2) + Be(0, 2) + Be(1, 2) + Be(offset, 8) + Be(4, 8); }},
      // An index of 4 bytes in front of each extent.
      {1, 0x4404,
       [](std::uint64_t offset) { return Be(0, 2) + Be(0, 2) + Be(1, 2) + Be(9, 4) + Be(offset, 4) + Be(4, 4); }},
      // Version 2: numbers of 4 bytes. Two extents, the second in front of the first.
      {2, 0x4400,
       [](std::uint64_t offset) {
         return Be(0, 2) + Be(0, 2) + Be(2, 2) + Be(offset + 2, 4) + Be(2, 4) + Be(offset, 4) + Be(2, 4);
       }},
  };
  for (const LocationCase& each : cases) {
    const std::uint64_t data_offset = FileWith(each, 0).size();
    MetaFile file(FileWith(each, data_offset) + "DATA and more");
    EXPECT_EQ(file.Data(1), each.version == 2 ? "TADA" : "DATA") << &each - cases;
    EXPECT_EQ(file.Data(2), "") << "no such item";
  }
}

TEST(HeifItems, FindsDataInsideOfTheMetaBox) {
  // Construction method 1; one extent from offset 2 of the given length.
  const auto file_with = [](std::uint64_t length) {
    return FullBox("meta", FullBox("iloc",
                                   Be(0x4400, 2) + Be(1, 2) + Be(1, 2) + Be(1, 2) + Be(0, 2) + Be(1, 2) + Be(2, 4) +
                                       Be(length, 4),
                                   1) +
                               Box("idat", "01data")) +
           "behind";
  };
  EXPECT_EQ(MetaFile(file_with(3)).Data(1), "dat");
  EXPECT_EQ(MetaFile(file_with(4)).Data(1), "data");
  EXPECT_EQ(MetaFile(file_with(0)).Data(1), "data") << "a length of 0 is all that is left";
  EXPECT_EQ(MetaFile(file_with(5)).Data(1), "") << "the box ends before the item does";
}

TEST(HeifItems, LeavesOutDataThatLieElsewhere) {
  const auto file_with = [](unsigned method, unsigned data_reference) {
    return FullBox("meta", FullBox("iloc",
                                   Be(0x4400, 2) + Be(1, 2) + Be(1, 2) + Be(method, 2) + Be(data_reference, 2) +
                                       Be(1, 2) + Be(0, 4) + Be(4, 4),
                                   1) +
                               Box("idat", "data"));
  };
  EXPECT_EQ(MetaFile(file_with(0, 0)).Data(1).size(), 4U);
  EXPECT_EQ(MetaFile(file_with(2, 0)).Data(1), "") << "a part of another item";
  EXPECT_EQ(MetaFile(file_with(0, 1)).Data(1), "") << "another file";
}

TEST(HeifItems, LeavesOutDataThatAreTooLongOrCut) {
  const auto file_with = [](std::uint64_t offset, std::uint64_t length) {
    return FullBox("meta", FullBox("iloc",
                                   Be(0x8800, 2) + Be(1, 2) + Be(1, 2) + Be(0, 2) + Be(0, 2) + Be(1, 2) +
                                       Be(offset, 8) + Be(length, 8),
                                   1));
  };
  MetaFile longest(file_with(0, 40));
  EXPECT_EQ(longest.Data(1, 40).size(), 40U);
  EXPECT_EQ(longest.Data(1, 39), "");
  const std::uint64_t file_size = file_with(0, 0).size();
  EXPECT_EQ(MetaFile(file_with(file_size - 4, 4)).Data(1).size(), 4U);
  EXPECT_EQ(MetaFile(file_with(file_size - 4, 5)).Data(1), "");
  EXPECT_EQ(MetaFile(file_with(0, UINT64_MAX)).Data(1), "");
  EXPECT_EQ(MetaFile(file_with(UINT64_MAX, 4)).Data(1), "");
}

TEST(HeifItems, AnOffsetPastTheLastIsNoOffset) {
  MetaFile file(FullBox(
      "meta",
      FullBox("iloc",
              Be(0x8480, 2) + Be(1, 2) + Be(1, 2) + Be(0, 2) + Be(UINT64_MAX, 8) + Be(1, 2) + Be(2, 8) + Be(4, 4), 0)));
  EXPECT_EQ(file.Data(1), "");
}

TEST(HeifItems, OldEntriesWithoutATypeAreSkipped) {
  const std::string old_entry = FullBox("infe", Be(1, 2) + Zeros(2) + "name" + Zeros(1), 0);
  const std::string entry = FullBox("infe", Be(2, 2) + Zeros(2) + "hvc1" + Zeros(1), 2);
  MetaFile file(FullBox("meta", FullBox("iinf", Be(2, 2) + old_entry + entry)));
  EXPECT_FALSE(file.items.Find(1));
  ASSERT_TRUE(file.items.Find(2));
  EXPECT_EQ(file.items.Find(2)->type, "hvc1");
  EXPECT_EQ(file.items.All().size(), 1U);
}

TEST(HeifItems, CountsOf32BitsComeWithVersion1) {
  const std::string entry = FullBox("infe", Be(2, 2) + Zeros(2) + "av01" + Zeros(1), 2);
  MetaFile file(FullBox("meta", FullBox("iinf", Be(1, 4) + entry, 1)));
  ASSERT_TRUE(file.items.Find(2));
  EXPECT_EQ(file.items.Find(2)->type, "av01");
}

TEST(HeifItems, TellsReferencesBothWays) {
  const std::string first = Box("auxl", Be(7, 2) + Be(2, 2) + Be(1, 2) + Be(3, 2));
  const std::string second = Box("auxl", Be(5, 2) + Be(1, 2) + Be(1, 2));
  const std::string other = Box("thmb", Be(4, 2) + Be(1, 2) + Be(1, 2));
  MetaFile file(FullBox("meta", FullBox("iref", first + second + other)));
  using Ids = std::vector<std::uint32_t>;
  EXPECT_EQ(file.items.TargetsOf(7, "auxl"), (Ids{1, 3}));
  EXPECT_EQ(file.items.TargetsOf(7, "thmb"), Ids());
  EXPECT_EQ(file.items.SourcesOf(1, "auxl"), (Ids{5, 7}));
  EXPECT_EQ(file.items.SourcesOf(3, "auxl"), Ids{7});
  EXPECT_EQ(file.items.SourcesOf(std::nullopt, "auxl"), (Ids{5, 7, 7}));
}

TEST(HeifItems, PropertiesMayBeAssociatedByASecondBox) {
  const std::string first = FullBox("ipma", Be(1, 4) + Be(1, 2) + Be(1, 1) + Be(1, 1));
  const std::string second = FullBox("ipma", Be(1, 4) + Be(0x10001, 4) + Be(1, 1) + Be(2, 2), 1, 1);
  const std::string boxes = Box("ipco", Box("free") + Rotation(1));
  MetaFile file(FullBox("meta", Box("iprp", boxes + first + second)));
  ASSERT_EQ(file.items.PropertiesOf(1).size(), 1U);
  EXPECT_EQ(file.items.PropertiesOf(1)[0].type, "free");
  ASSERT_EQ(file.items.PropertiesOf(0x10001).size(), 1U);
  EXPECT_EQ(file.items.PropertiesOf(0x10001)[0].type, "irot");
  EXPECT_TRUE(file.items.PropertiesOf(2).empty());
}

// What hostile tables cost. Whatever they claim, no more is read than the tables' own bytes and one header each.
constexpr std::size_t kMostTableBytes = 96 * 1024;

TEST(HeifItems, ABillionItemsCostWhatTheirTableHolds) {
  MetaFile file(FullBox("meta", FullBox("iinf", Be(UINT32_MAX, 4), 1) +
                                    FullBox("iloc", Be(0, 2) + Be(UINT32_MAX, 4), 2) +
                                    Box("iprp", Box("ipco") + FullBox("ipma", Be(UINT32_MAX, 4)))));
  EXPECT_TRUE(file.items.All().empty());
  EXPECT_FALSE(file.items.Find(1));
  EXPECT_EQ(file.Data(1), "");
  EXPECT_TRUE(file.items.PropertiesOf(1).empty());
  EXPECT_LE(file.source.BytesRead(), 4096U);
}

TEST(HeifItems, TablesOfAMebibyteAreReadInPart) {
  std::string entries;
  while (entries.size() < 1 << 20) entries += FullBox("infe", Be(3, 2) + Zeros(2) + "hvc1" + Zeros(1), 2);
  MetaFile file(FullBox("meta", FullBox("iinf", Be(UINT32_MAX, 4) + entries, 1) + FullBox("iref", entries)));
  EXPECT_LE(file.source.BytesRead(), kMostTableBytes + 8 * 1024);
  EXPECT_GT(file.items.All().size(), 4000U);
  EXPECT_LT(file.items.All().size(), 5000U);
}

TEST(HeifItems, ExtentsWithoutAWidthAreNotWalked) {
  // Each entry claims 65,535 extents of no bytes.
  std::string entries;
  for (int i = 0; i < 10000; ++i) entries += Be(5, 2) + Be(0, 2) + Be(65535, 2);
  MetaFile file(FullBox("meta", FullBox("iloc", Be(0, 2) + Be(10000, 2) + entries)));
  EXPECT_EQ(file.Data(5), "");
  EXPECT_EQ(file.Data(6), "");
}

TEST(HeifItems, ManyExtentsAreRefused) {
  const auto file_with = [](int extents) {
    std::string entry = Be(1, 2) + Be(0, 2) + Be(static_cast<std::uint64_t>(extents), 2);
    for (int i = 0; i < extents; ++i) entry += Be(0, 4) + Be(1, 4);
    return FullBox("meta", FullBox("iloc", Be(0x4400, 2) + Be(1, 2) + entry));
  };
  EXPECT_EQ(MetaFile(file_with(64)).Data(1).size(), 64U);
  EXPECT_EQ(MetaFile(file_with(65)).Data(1), "");
}

TEST(HeifItems, FieldsWiderThan8BytesAreRefused) {
  const auto file_with = [](unsigned offset_size) {
    return FullBox("meta", FullBox("iloc", Be(offset_size << 12 | 0x400, 2) + Be(1, 2) + Be(1, 2) + Zeros(2) +
                                               Be(1, 2) + Zeros(offset_size) + Be(4, 4)));
  };
  EXPECT_EQ(MetaFile(file_with(8)).Data(1).size(), 4U);
  EXPECT_EQ(MetaFile(file_with(9)).Data(1), "");
  EXPECT_EQ(MetaFile(file_with(15)).Data(1), "");
}

TEST(HeifItems, BoxesWithoutASizeThatCanBeEndTheWalk) {
  // An infe box of 4 bytes, less than its header.
  MetaFile file(FullBox("meta", FullBox("iinf", Be(2, 2) + Be(4, 4) + "infe" + Zeros(100))));
  EXPECT_TRUE(file.items.All().empty());
}

}  // namespace
}  // namespace media_server::image
