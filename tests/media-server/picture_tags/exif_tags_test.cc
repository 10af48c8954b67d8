#include "media-server/picture_tags/exif_tags.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tests/media-server/picture_tags/exif_builder.h"
#include "tests/media-server/zone.h"

namespace media_server::picture_tags {
namespace {

using imagecore::kFlipHorizontal;
using imagecore::kFlipNone;
using imagecore::kFlipVertical;
using std::string_view_literals::operator""sv;

constexpr std::int64_t kNoonInUtc = 1341835200;  // 2012-07-09 12:00:00 UTC

image::PictureTags Read(const std::vector<std::uint8_t>& exif) {
  image::PictureTags tags;
  ReadExifTags(exif, tags);
  return tags;
}

TEST(ExifTagsTest, ReadsMakerAndModel) {
  const auto tags = Read(MakeExif({Ascii(0x010F, "NIKON CORPORATION"), Ascii(0x0110, "NIKON D300")}));
  EXPECT_EQ(tags.maker, "NIKON CORPORATION");
  EXPECT_EQ(tags.model, "NIKON D300");
}

TEST(ExifTagsTest, CutsPaddingAndRepairsText) {
  const auto tags = Read(MakeExif({Ascii(0x010F, "Acme   \0\0"sv), Ascii(0x0110,
                                                                         "Gr\xF6\xDF"
                                                                         "e")}));
  EXPECT_EQ(tags.maker, "Acme");
  EXPECT_EQ(tags.model, "Gr\uFFFD\uFFFDe");
}

TEST(ExifTagsTest, TakesABlankTextForNone) {
  const auto tags = Read(MakeExif({Ascii(0x010F, "    "), Ascii(0x0110, "")}));
  EXPECT_EQ(tags.maker, std::nullopt);
  EXPECT_EQ(tags.model, std::nullopt);
}

TEST(ExifTagsTest, ReadsTimesOnTheMachinesClock) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const auto tags = Read(MakeExif({Ascii(0x0132, "2012:01:09 13:00:00")}, {Ascii(0x9003, "2012:07:09 14:00:00")}));
  EXPECT_EQ(tags.created, kNoonInUtc) << "in summer, two hours ahead";
  EXPECT_EQ(tags.modified, 1326110400) << "in winter, one hour ahead";
}

TEST(ExifTagsTest, ReadsTimesWithTheirOwnOffset) {
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const auto tags =
      Read(MakeExif({Ascii(0x0132, "2012:07:09 07:30:00")},
                    {Ascii(0x9003, "2012:07:09 21:00:00"), Ascii(0x9011, "+09:00"), Ascii(0x9010, "-04:30")}));
  EXPECT_EQ(tags.created, kNoonInUtc);
  EXPECT_EQ(tags.modified, kNoonInUtc);
}

TEST(ExifTagsTest, ReadsATimeWithoutItsOffsetWhereThatIsNonsense) {
  for (const char* offset : {"   :  ", "+9", "Tokyo", ""}) {
    const auto tags = Read(MakeExif({}, {Ascii(0x9003, "2012:07:09 12:00:00"), Ascii(0x9011, offset)}));
    EXPECT_EQ(tags.created, kNoonInUtc) << offset;
  }
}

TEST(ExifTagsTest, TakesTheTimeOfDigitizingWhereThereIsNoOther) {
  const auto both = Read(MakeExif({}, {Ascii(0x9003, "2012:07:09 12:00:00"), Ascii(0x9004, "2013:01:01 00:00:00")}));
  EXPECT_EQ(both.created, kNoonInUtc);
  const auto digitized = Read(MakeExif(
      {}, {Ascii(0x9003, "0000:00:00 00:00:00"), Ascii(0x9004, "2012:07:09 14:00:00"), Ascii(0x9012, "+02:00")}));
  EXPECT_EQ(digitized.created, kNoonInUtc);
}

TEST(ExifTagsTest, TakesNoTimeForUnknown) {
  for (const char* time : {"0000:00:00 00:00:00", "    :  :     :  :  ", "", "2012:07:09", "2012:13:09 12:00:00",
                           "2012:07:09 25:00:00", "yesterday"}) {
    const auto tags = Read(MakeExif({Ascii(0x0132, time)}, {Ascii(0x9003, time)}));
    EXPECT_EQ(tags.created, std::nullopt) << time;
    EXPECT_EQ(tags.modified, std::nullopt) << time;
  }
}

TEST(ExifTagsTest, DoesNotInventTheOtherDate) {
  EXPECT_EQ(Read(MakeExif({}, {Ascii(0x9003, "2012:07:09 12:00:00")})).modified, std::nullopt);
  EXPECT_EQ(Read(MakeExif({Ascii(0x0132, "2012:07:09 12:00:00")})).created, std::nullopt);
}

TEST(ExifTagsTest, ReadsPlaces) {
  const auto tags = Read(MakeExif(
      {}, {},
      {Ascii(1, "S"), Rationals(2, {33, 1, 51, 1, 2448, 100}), Ascii(3, "E"), Rationals(4, {151, 1, 12918, 1000})}));
  EXPECT_DOUBLE_EQ(tags.latitude_degrees.value_or(0), 33 + 51 / 60.0 + 24.48 / 3600);
  EXPECT_DOUBLE_EQ(tags.longitude_degrees.value_or(0), 151 + 12.918 / 60);
  EXPECT_EQ(tags.latitude_ref, 'S');
  EXPECT_EQ(tags.longitude_ref, 'E');
}

TEST(ExifTagsTest, ReadsPlacesOfOnePartAtTheEdges) {
  const auto tags = Read(MakeExif({}, {}, {Ascii(1, "n"), Rationals(2, {90, 1}), Ascii(3, "w"), Rationals(4, {0, 1})}));
  EXPECT_EQ(tags.latitude_degrees, 90);
  EXPECT_EQ(tags.longitude_degrees, 0);
  EXPECT_EQ(tags.latitude_ref, 'N');
  EXPECT_EQ(tags.longitude_ref, 'W');
}

TEST(ExifTagsTest, TakesNoPlaceOffTheGlobe) {
  const std::vector<ExifEntry> kNoPlaces[] = {
      {Ascii(1, "N"), Rationals(2, {91, 1})},
      {Ascii(1, "N"), Rationals(2, {48, 0})},
      {Ascii(1, "N"), Rationals(2, {48, 1, 1, 0})},
      {Ascii(1, "N"), Ascii(2, "48")},
      {Ascii(1, "N"), Rationals(2, {48, 1, 1, 1, 1, 1, 1, 1})},
      {Ascii(1, "N")},
      {Ascii(1, "N"), Rationals(2, {0xFFFFFFFF, 1}, /*type=*/10)},
  };
  for (const auto& gps : kNoPlaces) {
    const auto tags = Read(MakeExif({}, {}, gps));
    EXPECT_EQ(tags.latitude_degrees, std::nullopt);
    EXPECT_EQ(tags.latitude_ref, std::nullopt) << "a hemisphere alone says nothing";
  }
}

TEST(ExifTagsTest, ReadsAPlaceWithoutHemisphere) {
  const auto tags = Read(MakeExif({}, {}, {Ascii(1, "?"), Rationals(2, {48, 1})}));
  EXPECT_EQ(tags.latitude_degrees, 48);
  EXPECT_EQ(tags.latitude_ref, std::nullopt);
}

TEST(ExifTagsTest, ReadsExposureTimes) {
  EXPECT_DOUBLE_EQ(*Read(MakeExif({}, {Rationals(0x829A, {10, 2187})})).exposure_time_s, 10 / 2187.0);
  EXPECT_DOUBLE_EQ(*Read(MakeExif({}, {Rationals(0x9201, {6, 1}, /*type=*/10)})).exposure_time_s, 1 / 64.0);
  EXPECT_DOUBLE_EQ(
      *Read(MakeExif({}, {Rationals(0x829A, {0, 0}), Rationals(0x9201, {0xFFFFFFFF, 1}, /*type=*/10)})).exposure_time_s,
      2)
      << "a longer one has a negative value";
}

TEST(ExifTagsTest, TakesNoTimeForNoExposure) {
  EXPECT_EQ(Read(MakeExif({}, {Rationals(0x829A, {0, 1})})).exposure_time_s, std::nullopt);
  EXPECT_EQ(Read(MakeExif({}, {Rationals(0x829A, {1, 0})})).exposure_time_s, std::nullopt);
  EXPECT_EQ(Read(MakeExif({}, {Ascii(0x829A, "1/60")})).exposure_time_s, std::nullopt);
  EXPECT_EQ(Read(MakeExif({}, {Rationals(0x9201, {0x80000000, 1}, /*type=*/10)})).exposure_time_s, std::nullopt);
}

TEST(ExifTagsTest, ReadsTheEightOrientations) {
  const image::Orientation kOrientations[] = {{kFlipNone, 0},        {kFlipHorizontal, 0},   {kFlipNone, 180},
                                              {kFlipVertical, 0},    {kFlipHorizontal, 270}, {kFlipNone, 90},
                                              {kFlipHorizontal, 90}, {kFlipNone, 270}};
  for (std::uint16_t number = 1; number <= 8; ++number) {
    EXPECT_EQ(Read(MakeExif({Short(0x0112, number)})).orientation, kOrientations[number - 1]) << number;
  }
  for (const std::uint16_t number : std::initializer_list<std::uint16_t>{0, 9, 65535}) {
    EXPECT_EQ(Read(MakeExif({Short(0x0112, number)})).orientation, std::nullopt) << number;
  }
}

TEST(ExifTagsTest, FindsTheLabelInTheUserComment) {
  const std::string label = R"({"AIGC":{"Label":"1"}})";
  const auto exif = MakeExif({}, {Undefined(0x9286, std::string("ASCII\0\0\0", 8) + label)});
  EXPECT_EQ(Read(exif).aigc, label);
}

TEST(ExifTagsTest, KeepsWhatIsKnown) {
  image::PictureTags tags;
  tags.maker = "Known";
  tags.aigc = "label";
  ReadExifTags(MakeExif({Ascii(0x010F, "Other"), Ascii(0x0110, "EX-1")},
                        {Undefined(0x9286, std::string("ASCII\0\0\0", 8) + R"({"AIGC":1})")}),
               tags);
  EXPECT_EQ(tags.maker, "Known");
  EXPECT_EQ(tags.model, "EX-1");
  EXPECT_EQ(tags.aigc, "label");
}

TEST(ExifTagsTest, ReadsNothingFromNothing) {
  const auto tags = Read({});
  EXPECT_EQ(tags.maker, std::nullopt);
  EXPECT_EQ(tags.orientation, std::nullopt);
}

}  // namespace
}  // namespace media_server::picture_tags
