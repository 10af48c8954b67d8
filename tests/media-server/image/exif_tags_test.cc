#include "media-server/image/exif_tags.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/media-server/image/exif_builder.h"
#include "tests/media-server/zone.h"

namespace media_server::image {
namespace {

using imagecore::kFlipHorizontal;
using imagecore::kFlipNone;
using imagecore::kFlipVertical;
using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

using Types = std::initializer_list<std::uint16_t>;

constexpr std::int64_t kNoonInUtc = 1341835200;  // 2012-07-09 12:00:00 UTC

PictureTags Read(const ExifValues& exif) {
  PictureTags tags;
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
  const Orientation kOrientations[] = {{kFlipNone, 0},        {kFlipHorizontal, 0},   {kFlipNone, 180},
                                       {kFlipVertical, 0},    {kFlipHorizontal, 270}, {kFlipNone, 90},
                                       {kFlipHorizontal, 90}, {kFlipNone, 270}};
  for (std::uint16_t number = 1; number <= 8; ++number) {
    EXPECT_EQ(Read(MakeExif({Short(0x0112, number)})).orientation, kOrientations[number - 1]) << number;
  }
  for (const std::uint16_t number : std::initializer_list<std::uint16_t>{0, 9, 65535}) {
    EXPECT_EQ(Read(MakeExif({Short(0x0112, number)})).orientation, std::nullopt) << number;
  }
}

/// An orientation of one number of that type and those bytes.
std::optional<Orientation> OrientationOf(std::uint16_t type, std::string_view bytes,
                                         std::endian order = std::endian::little) {
  return Read({.order = order,
               .values = {{ExifDirectory::kImage, kExifOrientation, type, 1, {bytes.begin(), bytes.end()}}}})
      .orientation;
}

TEST(ExifTagsTest, ReadsNumbersOfAnyType) {
  const Orientation kSixth{kFlipNone, 90};
  for (const std::uint16_t type : Types{1, 6, 77}) EXPECT_EQ(OrientationOf(type, "\6"), kSixth) << type;
  for (const std::uint16_t type : Types{3, 8}) {
    EXPECT_EQ(OrientationOf(type, "\6\0"sv), kSixth) << type;
    EXPECT_EQ(OrientationOf(type, "\0\6"sv, std::endian::big), kSixth) << type;
    EXPECT_EQ(OrientationOf(type, "\0\6"sv), std::nullopt) << type;
  }
  for (const std::uint16_t type : Types{4, 9, 13}) {
    EXPECT_EQ(OrientationOf(type, "\6\0\0\0"sv), kSixth) << type;
    EXPECT_EQ(OrientationOf(type, "\0\0\0\6"sv, std::endian::big), kSixth) << type;
  }
  for (const std::uint16_t type : Types{5, 10}) {
    EXPECT_EQ(OrientationOf(type, "\x0C\0\0\0\2\0\0\0"sv), kSixth) << type;
    EXPECT_EQ(OrientationOf(type, "\0\0\0\x0C\0\0\0\2"sv, std::endian::big), kSixth) << type;
  }
  for (const std::uint16_t type : Types{16, 17, 18}) {
    EXPECT_EQ(OrientationOf(type, "\6\0\0\0\0\0\0\0"sv), kSixth) << type;
    EXPECT_EQ(OrientationOf(type, "\0\0\0\0\0\0\0\6"sv, std::endian::big), kSixth) << type;
  }
  EXPECT_EQ(OrientationOf(11, "\0\0\xC0\x40"sv), kSixth);
  EXPECT_EQ(OrientationOf(11, "\x40\xC0\0\0"sv, std::endian::big), kSixth);
  EXPECT_EQ(OrientationOf(12, "\0\0\0\0\0\0\x18\x40"sv), kSixth);
  EXPECT_EQ(OrientationOf(12, "\x40\x18\0\0\0\0\0\0"sv, std::endian::big), kSixth);
}

TEST(ExifTagsTest, TakesTextsAndBytesOfNoTypeForNoNumber) {
  for (const std::uint16_t type : Types{2, 7}) EXPECT_EQ(OrientationOf(type, "\6"), std::nullopt) << type;
}

/// An exposure time from a shutter speed, which may be negative.
std::optional<double> ExposureOfSpeed(std::uint16_t type, std::string_view bytes) {
  return Read({.values = {{ExifDirectory::kExif, kExifShutterSpeedValue, type, 1, {bytes.begin(), bytes.end()}}}})
      .exposure_time_s;
}

TEST(ExifTagsTest, ReadsNegativeNumbersOfTheTypesThatHaveThem) {
  EXPECT_EQ(ExposureOfSpeed(6, "\xFF"), 2);
  EXPECT_EQ(ExposureOfSpeed(8, "\xFF\xFF"), 2);
  EXPECT_EQ(ExposureOfSpeed(9, "\xFF\xFF\xFF\xFF"), 2);
  EXPECT_EQ(ExposureOfSpeed(10, "\xFF\xFF\xFF\xFF\1\0\0\0"sv), 2);
  EXPECT_EQ(ExposureOfSpeed(10, "\1\0\0\0\xFF\xFF\xFF\xFF"sv), 2);
  EXPECT_EQ(ExposureOfSpeed(11, "\0\0\x80\xBF"sv), 2);
  EXPECT_EQ(ExposureOfSpeed(12, "\0\0\0\0\0\0\xF0\xBF"sv), 2);
  EXPECT_EQ(ExposureOfSpeed(17, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"), 2);
  EXPECT_EQ(ExposureOfSpeed(1, "\1"), 0.5);
  EXPECT_EQ(ExposureOfSpeed(11, "\0\0\xC0\x7F"sv), std::nullopt) << "not a number";
  EXPECT_EQ(ExposureOfSpeed(11, "\0\0\x80\xFF"sv), std::nullopt) << "negative infinity";
}

TEST(ExifTagsTest, ReadsTextsOfAnyType) {
  for (const std::uint16_t type : Types{1, 2, 7, 77, 129}) {
    EXPECT_EQ(Read(MakeExif({{kExifMake, type, 4, "Acme"}})).maker, "Acme") << type;
  }
  EXPECT_EQ(Read(MakeExif({{kExifMake, 3, 2, "Acme"}})).maker, "Acme");
}

TEST(ExifTagsTest, TakesAValueOfNoLengthForNone) {
  const auto tags = Read(MakeExif({{kExifMake, 2, 0, ""}, {kExifOrientation, 3, 0, ""}},
                                  {{kExifExposureTime, 5, 0, ""}}, {{kExifGpsLatitude, 5, 0, ""}}));
  EXPECT_EQ(tags.maker, std::nullopt);
  EXPECT_EQ(tags.orientation, std::nullopt);
  EXPECT_EQ(tags.exposure_time_s, std::nullopt);
  EXPECT_EQ(tags.latitude_degrees, std::nullopt);
}

TEST(ExifTagsTest, ReadsPlacesOfOtherTypes) {
  EXPECT_EQ(Read(MakeExif({}, {}, {{kExifGpsLatitude, 1, 2, "\x30\x1E"}})).latitude_degrees, 48.5);
  EXPECT_EQ(Read(MakeExif({}, {}, {{kExifGpsLatitude, 3, 2, "\x30\0\x1E\0"s}})).latitude_degrees, 48.5);
  EXPECT_EQ(Read(MakeExif({}, {}, {{kExifGpsLatitude, 12, 1, "\0\0\0\0\0\x40\x48\x40"s}})).latitude_degrees, 48.5);
  EXPECT_EQ(Read(MakeExif({}, {}, {{kExifGpsLongitude, 6, 1, "\xFF"}})).longitude_degrees, std::nullopt);
}

TEST(ExifTagsTest, FindsTheLabelInTheUserComment) {
  const std::string label = R"({"AIGC":{"Label":"1"}})";
  const auto exif = MakeExif({}, {Undefined(0x9286, std::string("ASCII\0\0\0", 8) + label)});
  EXPECT_EQ(Read(exif).aigc, label);
}

TEST(ExifTagsTest, KeepsWhatIsKnown) {
  PictureTags tags;
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
}  // namespace media_server::image
