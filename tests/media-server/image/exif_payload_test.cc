#include "media-server/image/exif_payload.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Tiff(const std::string& block, ExifPrefix prefix) {
  const auto tiff = TiffOfExifBlock({block.begin(), block.end()}, prefix);
  return {tiff.begin(), tiff.end()};
}

TEST(ExifPayload, TheOffsetCountsFromBehindItself) {
  EXPECT_EQ(Tiff(Be(0, 4) + "II*\0x"s, ExifPrefix::kOffset), "II*\0x"s);
  EXPECT_EQ(Tiff(Be(3, 4) + "abcMM\0*x"s, ExifPrefix::kOffset), "MM\0*x"s);
  EXPECT_EQ(Tiff(Be(6, 4) + "Exif\0\0MM\0*x"s, ExifPrefix::kOffset), "MM\0*x"s);
}

TEST(ExifPayload, AWrongOffsetIsForgiven) {
  EXPECT_EQ(Tiff(Be(0, 4) + "Exif\0\0II*\0x"s, ExifPrefix::kOffset), "II*\0x"s);
  EXPECT_EQ(Tiff("II*\0x"s, ExifPrefix::kOffset), "II*\0x"s);
  EXPECT_EQ(Tiff("Exif\0\0II*\0x"s, ExifPrefix::kOffset), "II*\0x"s);
  EXPECT_EQ(Tiff(Be(UINT32_MAX, 4) + "II*\0x"s, ExifPrefix::kOffset), "II*\0x"s);
}

TEST(ExifPayload, WithoutAPrefixItStartsAtOnceOrBehindJpegsMark) {
  EXPECT_EQ(Tiff("MM\0*x"s, ExifPrefix::kNone), "MM\0*x"s);
  EXPECT_EQ(Tiff("Exif\0\0MM\0*x"s, ExifPrefix::kNone), "MM\0*x"s);
}

TEST(ExifPayload, IsEmptyWithoutATiffStructure) {
  EXPECT_EQ(Tiff("", ExifPrefix::kOffset), "");
  EXPECT_EQ(Tiff("II*", ExifPrefix::kNone), "");
  EXPECT_EQ(Tiff(Be(0, 4) + "JFIF and more", ExifPrefix::kOffset), "");
}

}  // namespace
}  // namespace media_server::image
