#include "media-server/image/ciff.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <utility>
#include <vector>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

/// Content of the entries, then the directory: count and type, size, place of each; then the directory's place.
std::string Heap(const std::vector<std::pair<std::uint16_t, std::string>>& entries) {
  std::string content;
  std::string directory = Le(entries.size(), 2);
  for (const auto& [type, value] : entries) {
    directory += Le(type, 2) + Le(value.size(), 4) + Le(content.size(), 4);
    content += value;
  }
  return content + directory + Le(content.size(), 4);
}

std::string Crw(const std::string& root) { return "II" + Le(26, 4) + "HEAPCCDR" + Le(0x10002, 4) + Zeros(8) + root; }

std::string Float(float value) { return Le(std::bit_cast<std::uint32_t>(value), 4); }

/// Width, height, pixel aspect ratio, rotation, depth and more.
std::string ImageSpec(std::int32_t rotation) {
  return Le(3072, 4) + Le(2048, 4) + Float(1) + Le(static_cast<std::uint32_t>(rotation), 4) + Zeros(12);
}

std::string Sample(std::int32_t rotation) {
  const std::string camera = Heap({{0x080A, "Canon\0Canon EOS D60\0"s + Zeros(12)}});
  const std::string properties = Heap({{0x2807, camera},
                                       {0x180E, Le(1049522828, 4) + Zeros(8)},
                                       {0x1810, ImageSpec(rotation)},
                                       {0x1818, Float(0) + Float(6) + Float(5)}});
  return Crw(Heap({{0x2005, "sensor data"}, {0x300A, properties}}));
}

TEST(Ciff, SizeRotationAndShot) {
  const auto headers = ReadPicture(Sample(90));
  ExpectSize(headers, 3072, 2048);
  EXPECT_EQ(headers->type, imagecore::kPictureCameraRaw);
  EXPECT_EQ(headers->fourcc, FourCC("CRW "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->orientation, (Orientation{imagecore::kFlipNone, 90}));
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(0x010F, "Canon"), TiffBuilder::Ascii(0x0110, "Canon EOS D60"),
            TiffBuilder::Link(0x8769, {1})});
  exif.Add({exif.Rational(0x829A, {15625, 1000000}), TiffBuilder::Ascii(0x9003, "2003:04:05 06:07:08")});
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(exif.Bytes()));
}

TEST(Ciff, RotationMayBeToldEitherWay) {
  EXPECT_EQ(ReadPicture(Sample(0))->orientation, Orientation());
  EXPECT_EQ(ReadPicture(Sample(-90))->orientation, (Orientation{imagecore::kFlipNone, 270}));
  EXPECT_EQ(ReadPicture(Sample(45))->orientation, std::nullopt);
  EXPECT_EQ(ReadPicture(Sample(720))->orientation, std::nullopt);
  EXPECT_EQ(ReadPicture(Sample(-450))->orientation, std::nullopt);
}

TEST(Ciff, SizeAloneIsEnough) {
  const auto headers = ReadPicture(Crw(Heap({{0x1810, ImageSpec(0)}})));
  ExpectSize(headers, 3072, 2048);
  EXPECT_TRUE(headers->metadata.exif_values.empty());
  EXPECT_FALSE(ReadPicture(Crw(Heap({{0x180E, Le(1049522828, 4) + Zeros(8)}}))));
  EXPECT_FALSE(ReadPicture(Crw(Heap({{0x1810, ImageSpec(0).substr(0, 15)}}))));
}

TEST(Ciff, ValuesWithinTheDirectoryAreNoPlaces) {
  // Bit 14: eight bytes of value stand where size and place would.
  const std::string heap = Heap({{0x1810, ImageSpec(0)}});
  EXPECT_TRUE(ReadPicture(Crw(Heap({{0x300A, heap}}))));
  EXPECT_FALSE(ReadPicture(Crw(Heap({{0x300A | 0x4000, heap}}))));
}

TEST(Ciff, OddShotsSayNothing) {
  const std::string no_time =
      Heap({{0x1810, ImageSpec(0)}, {0x180E, Zeros(12)}, {0x1818, Float(0) + Float(1e30F) + Float(5)}, {0x080A, ""}});
  EXPECT_TRUE(ReadPicture(Crw(no_time))->metadata.exif_values.empty());
  const std::string maker_only = Heap({{0x1810, ImageSpec(0)}, {0x080A, "Canon"}});
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(0x010F, "Canon")});
  EXPECT_EQ(ReadPicture(Crw(maker_only))->metadata.exif_values, ExifIn(exif.Bytes()));
}

TEST(Ciff, CutFilesAreRefused) {
  const std::string whole = Sample(0);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto headers = ReadPicture(whole.substr(0, size));
    if (headers) {
      EXPECT_EQ(headers->size, (PictureSize{3072, 2048})) << size;
    }
  }
}

TEST(Ciff, AHeapWithinItselfEnds) {
  // The root's only entry is the root.
  const std::string root = Le(1, 2) + Le(0x300A, 2) + Le(16, 4) + Le(0, 4) + Le(0, 4);
  MemorySource source(Crw(root));
  std::string reason;
  EXPECT_FALSE(ReadPictureHeaders(source, &reason));
  EXPECT_LT(source.BytesRead(), 1000U);
}

TEST(Ciff, DirectoriesThatLieAreReadWithinBounds) {
  std::vector<std::pair<std::uint16_t, std::string>> entries(5000, {std::uint16_t{0x080A}, std::string()});
  MemorySource source(Crw(Heap(entries)));
  std::string reason;
  EXPECT_FALSE(ReadPictureHeaders(source, &reason));
  EXPECT_LT(source.BytesRead(), 8192U);
  EXPECT_FALSE(ReadPicture(Crw(Le(UINT32_MAX, 4))));
  EXPECT_FALSE(ReadPicture("II" + Le(UINT32_MAX, 4) + "HEAPCCDR" + Zeros(12)));
}

}  // namespace
}  // namespace media_server::image
