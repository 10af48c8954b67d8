#include "media-server/image/minolta_raw.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Block(const std::string& name, const std::string& content) {
  return "\0"s + name + Be(content.size(), 4) + content;
}

/// Version, height and width of the sensor, height and width of the picture, depth and more.
std::string Dimensions(std::uint64_t height, std::uint64_t width) {
  return Block("PRD", "21810002" + Be(1944, 2) + Be(2608, 2) + Be(height, 2) + Be(width, 2) + Zeros(8));
}

TEST(MinoltaRaw, SizeOfThePictureAndExif) {
  const std::string blocks = Dimensions(1920, 2560) + Block("WBG", Zeros(12)) + Block("TTW", MakerOnly("Maker")) +
                             Block("TTW", MakerOnly("another"));
  const auto headers = ReadPicture(Block("MRM", blocks) + "sensor data");
  ExpectSize(headers, 2560, 1920);
  EXPECT_EQ(headers->type, imagecore::kPictureCameraRaw);
  EXPECT_EQ(headers->fourcc, FourCC("MRW "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(MakerOnly("Maker")));
}

TEST(MinoltaRaw, CutFilesAreToldAsLongAsTheirSizeIsThere) {
  const std::string blocks = Dimensions(1920, 2560) + Block("TTW", MakerOnly("Maker"));
  ExpectSameSizeOfEveryPrefix(Block("MRM", blocks), 8 + 8 + 8 + 8);
}

TEST(MinoltaRaw, WithoutDimensionsItIsRefused) {
  EXPECT_FALSE(ReadPicture(Block("MRM", Block("TTW", MakerOnly("Maker")))));
  EXPECT_FALSE(ReadPicture(Block("MRM", Dimensions(0, 2560))));
  EXPECT_FALSE(ReadPicture(Block("MRM", "") + Dimensions(1920, 2560)));  // behind the blocks
}

TEST(MinoltaRaw, BlocksWithoutEndAreReadWithinBounds) {
  std::string blocks;
  for (int i = 0; i < 100000; ++i) blocks += Block("PAD", "");
  MemorySource source(Block("MRM", blocks + Dimensions(1920, 2560)));
  std::string reason;
  EXPECT_FALSE(ReadPictureHeaders(source, &reason));
  EXPECT_LT(source.BytesRead(), 8192U);
  EXPECT_FALSE(ReadPicture("\0MRM"s + Be(UINT32_MAX, 4) + "\0PAD"s + Be(UINT32_MAX, 4) + Dimensions(1920, 2560)));
}

}  // namespace
}  // namespace media_server::image
