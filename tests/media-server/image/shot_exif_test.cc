#include "media-server/image/shot_exif.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/media-server/image/read_picture.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

ExifValues DateOnly(std::int64_t seconds) {
  return ExifOf({.maker = {}, .model = {}, .taken_s = seconds, .exposure_time_s = {}});
}

ExifValues ExposureOnly(double seconds) {
  return ExifOf({.maker = {}, .model = {}, .taken_s = {}, .exposure_time_s = seconds});
}

TEST(ShotExif, AllThatIsTold) {
  TiffBuilder expected;
  expected.Add({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Ascii(0x0110, "m"),
                expected.Rational(0x829A, {4000, 1000000}), TiffBuilder::Ascii(0x9003, "2024:02:29 23:59:58")});
  EXPECT_EQ(ExifOf({.maker = "Maker", .model = "m", .taken_s = 1709251198, .exposure_time_s = 0.004}),
            ExifIn(expected.Bytes()));
}

TEST(ShotExif, NothingToldGivesNothing) { EXPECT_TRUE(ExifOf({}).empty()); }

TEST(ShotExif, DatesOfFourDigits) {
  const auto with_date = [](std::string_view text) {
    TiffBuilder tiff;
    tiff.Add({TiffBuilder::Ascii(0x9003, text)});
    return ExifIn(tiff.Bytes());
  };
  EXPECT_EQ(DateOnly(0), with_date("1970:01:01 00:00:00"));
  EXPECT_EQ(DateOnly(253402300799), with_date("9999:12:31 23:59:59"));
  EXPECT_EQ(DateOnly(253402300800), ExifValues());
  EXPECT_EQ(DateOnly(-1), ExifValues());
  EXPECT_EQ(DateOnly(std::numeric_limits<std::int64_t>::max()), ExifValues());
}

TEST(ShotExif, ExposuresThatAreNoneAreLeftOut) {
  EXPECT_NE(ExposureOnly(4000), ExifValues());
  EXPECT_EQ(ExposureOnly(4001), ExifValues());
  EXPECT_EQ(ExposureOnly(0), ExifValues());
  EXPECT_EQ(ExposureOnly(-1), ExifValues());
  EXPECT_EQ(ExposureOnly(std::numeric_limits<double>::quiet_NaN()), ExifValues());
  EXPECT_EQ(ExposureOnly(std::numeric_limits<double>::infinity()), ExifValues());
}

}  // namespace
}  // namespace media_server::image
