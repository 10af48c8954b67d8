#include "media-server/image/canon_raw.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "media-server/image/tiff_directory.h"
#include "media-server/io/span_source.h"
#include "tests/media-server/image/heif_builder.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kCanonId = "\x85\xc0\xb6\x87\x82\x0f\x11\xe0\x81\x11\xf4\xce\x46\x2b\x6a\x48";
const std::string kXmpId = "\xbe\x7a\xcf\xcb\x97\xa9\x42\xe8\x9c\x71\x99\x94\x91\xe3\xaf\xac";

/// The camera's directories: the picture's with its size, Exif's, and that of the place.
std::string Directories() {
  TiffBuilder image;
  image.Add({image.Short(0x0100, 6720), image.Short(0x0101, 4480), TiffBuilder::Ascii(0x010F, "Canon"),
             image.Short(0x0112, 6)});
  TiffBuilder exif;
  exif.Add({exif.Rational(0x829A, {1, 160})});
  TiffBuilder gps;
  gps.Add({TiffBuilder::Ascii(0x0001, "N")});
  return Box("CNCV", "CanonCR3_001/00.09.00/00.00.00") + Box("CMT1", image.Bytes()) + Box("CMT2", exif.Bytes()) +
         Box("CMT3", Zeros(9000)) + Box("CMT4", gps.Bytes()) + Box("THMB", Zeros(16000));
}

std::string RawTrack(std::uint32_t width, std::uint32_t height) {
  return HeifTrack{.handler = "vide", .sample_entry = "CRAW", .width = width, .height = height}.Bytes();
}

/// The finished picture, a preview and the sensor's picture.
std::string Tracks() { return RawTrack(6720, 4480) + RawTrack(1624, 1080) + RawTrack(6888, 4546); }

std::string File(const std::string& movie, const std::string& behind = "") {
  return Box("ftyp", "crx " + Be(1, 4) + "crx isom") + Box("moov", movie) + behind + Box("mdat", Zeros(1000));
}

PictureHeaders Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadCanonRaw(source, headers));
  EXPECT_LE(source.BytesRead(), 256 * 1024U);
  return headers;
}

TEST(CanonRaw, TheCamerasDirectoryTellsTheSize) {
  const PictureHeaders headers = Read(File(Box("uuid", kCanonId + Directories()) + Tracks()));
  EXPECT_EQ(headers.type, imagecore::kPictureCameraRaw);
  EXPECT_EQ(headers.fourcc, FourCC("CRAW"));
  EXPECT_EQ(headers.size, (PictureSize{6720, 4480}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
  EXPECT_FALSE(headers.orientation) << "Exif tells it";
}

TEST(CanonRaw, WithoutASizeThereItIsTheLargestTracks) {
  EXPECT_EQ(Read(File(Tracks())).size, (PictureSize{6888, 4546}));
  TiffBuilder only_width;
  only_width.Add({only_width.Short(0x0100, 6720)});
  const std::string directories = Box("uuid", kCanonId + Box("CMT1", only_width.Bytes()));
  EXPECT_EQ(Read(File(directories + Tracks())).size, (PictureSize{6888, 4546}));
}

TEST(CanonRaw, TracksOfOtherKindsAreNoPicture) {
  const std::string sound = HeifTrack{.handler = "vide", .sample_entry = "avc1", .width = 9000, .height = 9000}.Bytes();
  EXPECT_EQ(Read(File(sound + RawTrack(1624, 1080))).size, (PictureSize{1624, 1080}));
  MemorySource source(File(sound));
  PictureHeaders headers;
  EXPECT_FALSE(ReadCanonRaw(source, headers));
}

TEST(CanonRaw, ExifIsThatOfTheThreeDirectories) {
  const auto exif = Read(File(Box("uuid", kCanonId + Directories()) + Tracks())).metadata.exif_values;
  const ExifValue* orientation = exif.Find(ExifDirectory::kImage, kExifOrientation);
  ASSERT_TRUE(orientation);
  EXPECT_EQ(NumberIn(orientation->bytes, exif.order), 6U);
  EXPECT_TRUE(exif.Find(ExifDirectory::kImage, kExifMake));
  EXPECT_TRUE(exif.Find(ExifDirectory::kExif, kExifExposureTime));
  EXPECT_TRUE(exif.Find(ExifDirectory::kGps, kExifGpsLatitudeRef));
}

TEST(CanonRaw, XmpLiesInABoxBehindTheMovie) {
  const std::string padded = "<x:xmpmeta/>" + std::string(60'000, ' ');
  EXPECT_EQ(Read(File(Tracks(), Box("uuid", kXmpId + padded))).metadata.xmp, padded);
  EXPECT_EQ(Read(File(Tracks(), Box("uuid", std::string(16, 'x') + padded))).metadata.xmp, "");
}

TEST(CanonRaw, CutAnywhereTellsASizeOrNothing) {
  const std::string whole = File(Box("uuid", kCanonId + Directories()) + Tracks());
  const std::size_t directory_end = whole.find("CMT2");
  for (std::size_t size = 0; size < whole.size(); size += size < 400 ? 1 : 97) {
    MemorySource source(whole.substr(0, size));
    PictureHeaders headers;
    const bool is_read = ReadCanonRaw(source, headers);
    EXPECT_TRUE(is_read || size < directory_end) << size;
    EXPECT_TRUE(!is_read || *headers.size == (PictureSize{6720, 4480})) << size;
  }
}

TEST(CanonRaw, HostileBoxesCostTheirBudget) {
  std::string many;
  for (int i = 0; i < 500; ++i) many += Box("uuid", kXmpId + std::string(20'000, 'x'));
  Read(File(Box("uuid", kCanonId + Directories()) + Tracks(), many));
  std::string directories;
  for (int i = 0; i < 500; ++i) directories += Box("uuid", kCanonId + Directories());
  Read(File(directories));
  TiffBuilder loop;
  loop.Add({loop.Short(0x0110, 1)}, 0);
  MemorySource source(File(Box("uuid", kCanonId + Box("CMT1", loop.Bytes()) + Box("CMT1", Zeros(20'000)))));
  PictureHeaders headers;
  EXPECT_FALSE(ReadCanonRaw(source, headers));
  EXPECT_LE(source.BytesRead(), 64 * 1024U);
}

}  // namespace
}  // namespace media_server::image
