#include "media-server/image/exif_values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

constexpr std::uint16_t kExifPointer = 0x8769;
constexpr std::uint16_t kGpsPointer = 0x8825;

ExifValues Read(const std::string& structure, std::uint64_t base = 0) {
  MemorySource source(structure);
  return ReadExifValues(source, base);
}

/// Values by directory, as the builder writes them.
class Expected {
 public:
  Expected& Add(ExifDirectory directory, const std::vector<TiffBuilder::Field>& fields) {
    for (const TiffBuilder::Field& field : fields) {
      values_.push_back({directory,
                         field.tag,
                         field.type,
                         static_cast<std::uint32_t>(field.count),
                         {field.value.begin(), field.value.end()}});
    }
    return *this;
  }
  Expected& Image(const std::vector<TiffBuilder::Field>& fields) { return Add(ExifDirectory::kImage, fields); }
  Expected& Exif(const std::vector<TiffBuilder::Field>& fields) { return Add(ExifDirectory::kExif, fields); }
  Expected& Gps(const std::vector<TiffBuilder::Field>& fields) { return Add(ExifDirectory::kGps, fields); }

  const std::vector<ExifValue>& values() const { return values_; }

 private:
  std::vector<ExifValue> values_;
};

void Expect(const ExifValues& exif, const Expected& expected, std::endian order = std::endian::little) {
  EXPECT_EQ(exif.order, order);
  EXPECT_THAT(exif.values, testing::UnorderedElementsAreArray(expected.values()));
}

TEST(ExifValues, WhatIsWantedIsReadInBothByteOrdersAndWidths) {
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

      Expected expected;
      expected.Image({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Ascii(0x0110, "Model"), tiff.Short(0x0112, 6),
                      TiffBuilder::Ascii(0x0132, "2020:01:02 03:04:05")});
      expected.Exif({tiff.Rational(0x829A, {1, 160}), TiffBuilder::Ascii(0x9003, "2020:01:02 03:04:06"),
                     TiffBuilder::Ascii(0x9004, "2020:01:02 03:04:07"), TiffBuilder::Ascii(0x9010, "+01:00"),
                     TiffBuilder::Ascii(0x9011, "+02:00"), TiffBuilder::Ascii(0x9012, "+03:00"),
                     tiff.Rational(0x9201, {7, 1}), TiffBuilder::Raw(0x9286, 7, "ASCII\0\0\0{}"s)});
      expected.Gps({TiffBuilder::Ascii(0x0001, "N"), tiff.Rational(0x0002, {48, 1, 8, 1, 0, 1}),
                    TiffBuilder::Ascii(0x0003, "E"), tiff.Rational(0x0004, {11, 1, 34, 1, 0, 1})});
      Expect(Read(tiff.Bytes()), expected, order);
      Expect(Read("in front" + tiff.Bytes(), 8), expected, order);
    }
  }
}

TEST(ExifValues, OneTagOfTwoDirectoriesIsTwoValues) {
  const ExifValues exif = {.values = {{.directory = ExifDirectory::kGps, .tag = 1, .type = 2},
                                      {.directory = ExifDirectory::kExif, .tag = 1, .type = 7}}};
  ASSERT_TRUE(exif.Find(ExifDirectory::kExif, 1));
  EXPECT_EQ(exif.Find(ExifDirectory::kExif, 1)->type, 7);
  EXPECT_FALSE(exif.Find(ExifDirectory::kImage, 1));
  EXPECT_FALSE(exif.Find(ExifDirectory::kGps, 2));
}

TEST(ExifValues, OddValuesStayAsTheyAre) {
  const auto odd_text = TiffBuilder::Raw(0x0110, 7, "no terminator");
  const auto odd_type = TiffBuilder::Raw(0x0132, 77, "2020");
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Entry(0x010F, 2, 0, Le(0, 4)), odd_text, tiff.Long(0x0112, 8), odd_type,
            TiffBuilder::Link(kGpsPointer, {1})});
  tiff.Add({TiffBuilder::Ascii(0x0001, ""), tiff.Long(0x0002, {48, 1}), TiffBuilder::Ascii(0x0003, "East of here")});
  Expected expected;
  expected.Image({TiffBuilder::Raw(0x010F, 2, ""), odd_text, tiff.Long(0x0112, 8), odd_type});
  expected.Gps(
      {TiffBuilder::Ascii(0x0001, ""), tiff.Long(0x0002, {48, 1}), TiffBuilder::Ascii(0x0003, "East of here")});
  Expect(Read(tiff.Bytes()), expected);
}

TEST(ExifValues, EntriesComeInAnyOrderAndTheFirstOfTwoHolds) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(0x0112, 3), TiffBuilder::Ascii(0x0110, "first"), TiffBuilder::Ascii(0x010F, "Maker"),
            tiff.Short(0x0112, 6), TiffBuilder::Ascii(0x0110, "second")});
  Expect(Read(tiff.Bytes()), Expected().Image({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Ascii(0x0110, "first"),
                                               tiff.Short(0x0112, 3)}));
}

TEST(ExifValues, ExposureOfTheFirstDirectoryFillsTheExifDirectory) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Link(kExifPointer, {1}), tiff.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "outer")});
  tiff.Add({TiffBuilder::Ascii(0x9003, "inner")});
  Expected expected;
  expected.Exif({tiff.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "inner")});
  Expect(Read(tiff.Bytes()), expected);

  TiffBuilder without_directory;
  without_directory.Add({tiff.Rational(0x829A, {1, 30}), TiffBuilder::Ascii(0x9003, "inner")});
  Expect(Read(without_directory.Bytes()), expected);
}

TEST(ExifValues, DirectoriesThatLeadAstrayAreLeftOut) {
  const Expected expected = Expected().Image({TiffBuilder::Ascii(0x010F, "Maker")});
  for (const std::uint64_t astray :
       {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{4}, std::uint64_t{100000}, std::uint64_t{UINT32_MAX}}) {
    SCOPED_TRACE(astray);
    TiffBuilder tiff;
    tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Long(kExifPointer, astray), tiff.Long(kGpsPointer, astray)});
    Expect(Read(tiff.Bytes()), expected);
  }
  TiffBuilder text;
  text.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(kExifPointer, 2, Le(8, 4))});
  Expect(Read(text.Bytes()), expected);
}

TEST(ExifValues, ValuesThatAreNotThereAreLeftOut) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Entry(0x0110, 2, 20, Le(5000, 4)),
            TiffBuilder::Entry(0x0112, 3, UINT32_MAX, Le(8, 4)), TiffBuilder::Entry(0x0132, 2, 20, Le(UINT32_MAX, 4))});
  Expect(Read(tiff.Bytes()), Expected().Image({TiffBuilder::Ascii(0x010F, "Maker")}));
}

TEST(ExifValues, NothingWantedGivesNothing) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(0x0100, 640), TiffBuilder::Link(kExifPointer, {1})});
  tiff.Add({tiff.Short(0xA002, 640)});
  EXPECT_TRUE(Read(tiff.Bytes()).empty());
  EXPECT_TRUE(Read("").empty());
  EXPECT_TRUE(Read("Exif\0\0II*\0"s).empty());
  EXPECT_TRUE(Read("II*\0"s + Le(UINT32_MAX, 4)).empty());
}

TEST(ExifValues, LongValuesAreLeftOut) {
  const auto model = [](std::size_t size) { return TiffBuilder::Raw(0x0110, 2, std::string(size, 'm')); };
  const auto comment = [](std::size_t size) { return TiffBuilder::Raw(0x9286, 7, std::string(size, 'c')); };
  const auto with_sizes = [&](std::size_t model_size, std::size_t comment_size) {
    TiffBuilder tiff;
    tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), model(model_size), TiffBuilder::Link(kExifPointer, {1})});
    tiff.Add({TiffBuilder::Ascii(0x9003, "now"), comment(comment_size)});
    return Read(tiff.Bytes());
  };
  Expect(with_sizes(4096, 65536), Expected()
                                      .Image({TiffBuilder::Ascii(0x010F, "Maker"), model(4096)})
                                      .Exif({TiffBuilder::Ascii(0x9003, "now"), comment(65536)}));
  Expect(with_sizes(4097, 65537),
         Expected().Image({TiffBuilder::Ascii(0x010F, "Maker")}).Exif({TiffBuilder::Ascii(0x9003, "now")}));
}

TEST(ExifValues, NothingIsReadOfWhatIsLeftOut) {
  TiffBuilder tiff;
  tiff.Add({TiffBuilder::Raw(0x010E, 2, std::string(100000, 'd')), TiffBuilder::Ascii(0x010F, "Maker"),
            TiffBuilder::Raw(0x02BC, 1, std::string(200000, 'x')), TiffBuilder::Link(kExifPointer, {1})});
  tiff.Add({TiffBuilder::Raw(0x927C, 7, std::string(60000, 'n')), TiffBuilder::Ascii(0x9003, "now")});
  MemorySource source(tiff.Bytes());
  EXPECT_FALSE(ReadExifValues(source, 0).empty());
  EXPECT_LT(source.BytesRead(), 200U);
}

TEST(ExifValues, ACutStructureGivesWhatCanBeRead) {
  TiffBuilder tiff(std::endian::big);
  const Expected image = Expected().Image({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Short(0x0112, 6)});
  const std::vector exif = {tiff.Rational(0x829A, {1, 160}), TiffBuilder::Ascii(0x9003, "2020:01:02 03:04:06")};
  const std::vector gps = {TiffBuilder::Ascii(0x0001, "N"), tiff.Rational(0x0002, {48, 1, 8, 1, 0, 1})};
  tiff.Add({TiffBuilder::Ascii(0x010F, "Maker"), tiff.Short(0x0112, 6), TiffBuilder::Link(kExifPointer, {1}),
            TiffBuilder::Link(kGpsPointer, {2})});
  tiff.Add(exif);
  tiff.Add(gps);
  const Expected all = Expected(image).Exif(exif).Gps(gps);
  const std::string whole = tiff.Bytes();
  std::size_t last_count = 0;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const auto values = Read(whole.substr(0, size)).values;
    EXPECT_THAT(values, testing::Each(testing::AnyOfArray(all.values()))) << size;
    EXPECT_GE(values.size(), last_count) << size;
    last_count = values.size();
  }
  Expect(Read(whole), all, std::endian::big);
  Expect(Read(whole.substr(0, tiff.OffsetOf(1))), image, std::endian::big);
}

TEST(ExifValues, DirectoriesThatStandApartAreJoined) {
  TiffBuilder image;
  image.Add({TiffBuilder::Ascii(0x010F, "Maker"), image.Short(0x0100, 6000)});
  TiffBuilder exif;
  exif.Add({exif.Rational(0x829A, {1, 160}), TiffBuilder::Raw(0x927C, 7, "maker's note")});
  TiffBuilder gps;
  gps.Add({TiffBuilder::Ascii(0x0001, "N"), gps.Rational(0x0002, {48, 1, 8, 1, 0, 1})});
  const std::string image_bytes = image.Bytes();
  const std::string exif_bytes = exif.Bytes();
  const std::string gps_bytes = gps.Bytes();
  Expect(ReadExifValues(AsBytes(image_bytes), AsBytes(exif_bytes), AsBytes(gps_bytes)),
         Expected()
             .Image({TiffBuilder::Ascii(0x010F, "Maker")})
             .Exif({exif.Rational(0x829A, {1, 160})})
             .Gps({TiffBuilder::Ascii(0x0001, "N"), gps.Rational(0x0002, {48, 1, 8, 1, 0, 1})}));

  const Expected only_exif = Expected().Exif({exif.Rational(0x829A, {1, 160})});
  Expect(ReadExifValues({}, AsBytes(exif_bytes), {}), only_exif);
  EXPECT_TRUE(ReadExifValues({}, {}, {}).empty());

  TiffBuilder turned(std::endian::big);
  turned.Add({TiffBuilder::Ascii(0x0001, "N")});
  const std::string turned_bytes = turned.Bytes();
  Expect(ReadExifValues({}, AsBytes(exif_bytes), AsBytes(turned_bytes)), only_exif);
}

}  // namespace
}  // namespace media_server::image
