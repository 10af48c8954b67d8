#include "media-server/image/compact_exif.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "media-server/container/byte_reader.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

constexpr std::uint16_t kExifPointer = 0x8769;
constexpr std::uint16_t kGpsPointer = 0x8825;

std::string Compact(const std::string& structure, std::uint64_t base = 0) {
  MemorySource source(structure);
  const auto compact = CompactExif(source, base);
  return std::string(AsText(compact));
}

std::span<const std::uint8_t> AsBytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(CompactExif, KeepsWhatIsWantedInBothByteOrdersAndWidths) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const bool is_big_tiff : {false, true}) {
      SCOPED_TRACE(std::string(order == std::endian::big ? "big endian" : "little endian") +
                   (is_big_tiff ? ", big" : ""));
      TiffBuilder tiff(order, is_big_tiff);
      tiff.Add(
          {tiff.Short(0x0100, 4000), TiffBuilder::Ascii(0x010E, "a description"), TiffBuilder::Ascii(0x010F, "Maker"),
           TiffBuilder::Ascii(0x0110, "Model"), tiff.Short(0x0112, 6), TiffBuilder::Ascii(0x0131, "Software"),
           TiffBuilder::Ascii(0x0132, "2020:01:02 03:04:05"), TiffBuilder::Raw(0x02BC, 1, "<x:xmpmeta/>"),
           TiffBuilder::Link(kExifPointer, {1}), TiffBuilder::Link(kGpsPointer, {2})},
          3);
      tiff.Add({tiff.Rational(0x829A, {1, 160}), tiff.Rational(0x829D, {28, 10}),
                TiffBuilder::Ascii(0x9003, "2020:01:02 03:04:06"), TiffBuilder::Ascii(0x9004, "2020:01:02 03:04:07"),
                TiffBuilder::Ascii(0x9010, "+01:00"), TiffBuilder::Ascii(0x9011, "+02:00"),
                TiffBuilder::Ascii(0x9012, "+03:00"), tiff.Rational(0x9201, {7, 1}),
                TiffBuilder::Raw(0x927C, 7, "maker's note"), TiffBuilder::Raw(0x9286, 7, "ASCII\0\0\0{}"s)});
      tiff.Add({TiffBuilder::Raw(0x0000, 1, "\2\3\0\0"s), TiffBuilder::Ascii(0x0001, "N"),
                tiff.Rational(0x0002, {48, 1, 8, 1, 0, 1}), TiffBuilder::Ascii(0x0003, "E"),
                tiff.Rational(0x0004, {11, 1, 34, 1, 0, 1}), tiff.Rational(0x0006, {500, 1})});
      tiff.Add({tiff.Short(0x0100, 160)});  // of the thumbnail

      TiffBuilder expected(order);
      expected.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Ascii(0x0110, "Model"), expected.Short(0x0112, 6),
                    TiffBuilder::Ascii(0x0132, "2020:01:02 03:04:05"), TiffBuilder::Link(kExifPointer, {1}),
                    TiffBuilder::Link(kGpsPointer, {2})});
      expected.Add({expected.Rational(0x829A, {1, 160}), TiffBuilder::Ascii(0x9003, "2020:01:02 03:04:06"),
                    TiffBuilder::Ascii(0x9004, "2020:01:02 03:04:07"), TiffBuilder::Ascii(0x9010, "+01:00"),
                    TiffBuilder::Ascii(0x9011, "+02:00"), TiffBuilder::Ascii(0x9012, "+03:00"),
                    expected.Rational(0x9201, {7, 1}), TiffBuilder::Raw(0x9286, 7, "ASCII\0\0\0{}"s)});
      expected.Add({TiffBuilder::Ascii(0x0001, "N"), expected.Rational(0x0002, {48, 1, 8, 1, 0, 1}),
                    TiffBuilder::Ascii(0x0003, "E"), expected.Rational(0x0004, {11, 1, 34, 1, 0, 1})});
      EXPECT_EQ(Compact(tiff.Bytes()), expected.Bytes());
      EXPECT_EQ(Compact("in front" + tiff.Bytes(), 8), expected.Bytes());
      EXPECT_EQ(Compact(expected.Bytes()), expected.Bytes());
    }
  }
}

TEST(CompactExif, OddValuesStayAsTheyAre) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Entry(0x010F, 2, 0, Le(0, 4)), TiffBuilder::Raw(0x0110, 7, "no terminator"),
            tiff.Long(0x0112, 8), TiffBuilder::Raw(0x0132, 77, "2020"), TiffBuilder::Link(kGpsPointer, {1})});
  tiff.Add({TiffBuilder::Ascii(0x0001, ""), tiff.Long(0x0002, {48, 1}), TiffBuilder::Ascii(0x0003, "East of here")});
  EXPECT_EQ(Compact(tiff.Bytes()), tiff.Bytes());
}

TEST(CompactExif, EntriesComeInOrderAndTheFirstOfTwoHolds) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(0x0112, 3), TiffBuilder::Ascii(0x0110, "first"), TiffBuilder::Ascii(0x010F, "Maker"),
            tiff.Short(0x0112, 6), TiffBuilder::Ascii(0x0110, "second")});
  TiffBuilder expected;
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Ascii(0x0110, "first"), expected.Short(0x0112, 3)});
  EXPECT_EQ(Compact(tiff.Bytes()), expected.Bytes());
}

TEST(CompactExif, ExposureOfTheFirstDirectoryFillsTheExifDirectory) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Link(kExifPointer, {1}), tiff.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "outer")});
  tiff.Add({TiffBuilder::Ascii(0x9003, "inner")});
  TiffBuilder expected;
  expected.Add({TiffBuilder::Link(kExifPointer, {1})});
  expected.Add({expected.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "inner")});
  EXPECT_EQ(Compact(tiff.Bytes()), expected.Bytes());

  TiffBuilder without_directory;
  without_directory.Add({tiff.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "inner")});
  EXPECT_EQ(Compact(without_directory.Bytes()), expected.Bytes());
}

TEST(CompactExif, DirectoriesThatLeadAstrayAreLeftOut) {
  TiffBuilder expected;
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker")});
  for (const std::uint64_t astray :
       {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{4}, std::uint64_t{100000}, std::uint64_t{UINT32_MAX}}) {
    TiffBuilder tiff;
    tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Long(kExifPointer, astray), tiff.Long(kGpsPointer, astray)});
    EXPECT_EQ(Compact(tiff.Bytes()), expected.Bytes()) << astray;
  }
  TiffBuilder text;
  text.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(kExifPointer, 2, Le(8, 4))});
  EXPECT_EQ(Compact(text.Bytes()), expected.Bytes());
}

TEST(CompactExif, ValuesThatAreNotThereAreLeftOut) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Entry(0x0110, 2, 20, Le(5000, 4)),
            TiffBuilder::Entry(0x0112, 3, UINT32_MAX, Le(8, 4)), TiffBuilder::Entry(0x0132, 2, 20, Le(UINT32_MAX, 4))});
  TiffBuilder expected;
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker")});
  EXPECT_EQ(Compact(tiff.Bytes()), expected.Bytes());
}

TEST(CompactExif, NothingWantedGivesNothing) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(0x0100, 640), TiffBuilder::Link(kExifPointer, {1})});
  tiff.Add({tiff.Short(0xA002, 640)});
  EXPECT_EQ(Compact(tiff.Bytes()), "");
  EXPECT_EQ(Compact(""), "");
  EXPECT_EQ(Compact("Exif\0\0II*\0"s), "");
  EXPECT_EQ(Compact("II*\0"s + Le(UINT32_MAX, 4)), "");
}

TEST(CompactExif, LongValuesAreLeftOut) {
  const auto with_sizes = [](std::size_t model_size, std::size_t comment_size) {
    TiffBuilder tiff;
    tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(0x0110, 2, std::string(model_size, 'm')),
              TiffBuilder::Link(kExifPointer, {1})});
    tiff.Add({TiffBuilder::Ascii(0x9003, "now"), TiffBuilder::Raw(0x9286, 7, std::string(comment_size, 'c'))});
    return tiff.Bytes();
  };
  EXPECT_EQ(Compact(with_sizes(4096, 65536)), with_sizes(4096, 65536));
  TiffBuilder expected;
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Link(kExifPointer, {1})});
  expected.Add({TiffBuilder::Ascii(0x9003, "now")});
  EXPECT_EQ(Compact(with_sizes(4097, 65537)), expected.Bytes());
}

TEST(CompactExif, ReadsNothingOfWhatItLeavesOut) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Raw(0x010E, 2, std::string(100000, 'd')), TiffBuilder::Ascii(0x010F, "Maker"),
            TiffBuilder::Raw(0x02BC, 1, std::string(200000, 'x')), TiffBuilder::Link(kExifPointer, {1})});
  tiff.Add({TiffBuilder::Raw(0x927C, 7, std::string(60000, 'n')), TiffBuilder::Ascii(0x9003, "now")});
  MemorySource source(tiff.Bytes());
  EXPECT_FALSE(CompactExif(source, 0).empty());
  EXPECT_LT(source.BytesRead(), 200U);
}

TEST(CompactExif, ACutStructureGivesWhatCanBeRead) {
  TiffBuilder tiff(std::endian::big);
  tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Short(0x0112, 6), TiffBuilder::Link(kExifPointer, {1}),
            TiffBuilder::Link(kGpsPointer, {2})});
  tiff.Add({tiff.Rational(0x829A, {1, 160}), TiffBuilder::Ascii(0x9003, "2020:01:02 03:04:06")});
  tiff.Add({TiffBuilder::Ascii(0x0001, "N"), tiff.Rational(0x0002, {48, 1, 8, 1, 0, 1})});
  const std::string whole = tiff.Bytes();
  std::size_t last_size = 0;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const std::string compact = Compact(whole.substr(0, size));
    EXPECT_EQ(Compact(compact), compact) << size;
    EXPECT_GE(compact.size(), last_size) << size;
    last_size = compact.size();
  }
  EXPECT_EQ(last_size, whole.size());
  TiffBuilder expected(std::endian::big);
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Short(0x0112, 6)});
  EXPECT_EQ(Compact(whole.substr(0, tiff.OffsetOf(1))), expected.Bytes());
}

TEST(CompactExif, JoinsDirectoriesThatStandApart) {
  TiffBuilder image;
  image.Add({TiffBuilder::Ascii(0x010F, "Maker"), image.Short(0x0100, 6000)});
  TiffBuilder exif;
  exif.Add({exif.Rational(0x829A, {1, 160}), TiffBuilder::Raw(0x927C, 7, "maker's note")});
  TiffBuilder gps;
  gps.Add({TiffBuilder::Ascii(0x0001, "N"), gps.Rational(0x0002, {48, 1, 8, 1, 0, 1})});
  TiffBuilder expected;
  expected.Add(
      {TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Link(kExifPointer, {1}), TiffBuilder::Link(kGpsPointer, {2})});
  expected.Add({exif.Rational(0x829A, {1, 160})});
  expected.Add({TiffBuilder::Ascii(0x0001, "N"), gps.Rational(0x0002, {48, 1, 8, 1, 0, 1})});
  const std::string image_bytes = image.Bytes();
  const std::string exif_bytes = exif.Bytes();
  const std::string gps_bytes = gps.Bytes();
  const auto joined = CompactExif(AsBytes(image_bytes), AsBytes(exif_bytes), AsBytes(gps_bytes));
  EXPECT_EQ(AsText(joined), expected.Bytes());

  TiffBuilder only_exif;
  only_exif.Add({TiffBuilder::Link(kExifPointer, {1})});
  only_exif.Add({exif.Rational(0x829A, {1, 160})});
  const auto alone = CompactExif({}, AsBytes(exif_bytes), {});
  EXPECT_EQ(AsText(alone), only_exif.Bytes());
  EXPECT_TRUE(CompactExif({}, {}, {}).empty());

  TiffBuilder turned(std::endian::big);
  turned.Add({TiffBuilder::Ascii(0x0001, "N")});
  const std::string turned_bytes = turned.Bytes();
  const auto without_turned = CompactExif({}, AsBytes(exif_bytes), AsBytes(turned_bytes));
  EXPECT_EQ(AsText(without_turned), only_exif.Bytes());
}

}  // namespace
}  // namespace media_server::image
