/// Camera raw formats that are built of TIFF directories.
#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "media-server/image/tiff.h"
#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/read_picture.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using Fields = std::vector<TiffBuilder::Field>;

constexpr std::uint16_t kNewSubfileType = 0x00FE;
constexpr std::uint16_t kWidth = 0x0100;
constexpr std::uint16_t kHeight = 0x0101;
constexpr std::uint16_t kCompression = 0x0103;
constexpr std::uint16_t kPhotometric = 0x0106;
constexpr std::uint16_t kMake = 0x010F;
constexpr std::uint16_t kOrientation = 0x0112;
constexpr std::uint16_t kSubDirectories = 0x014A;
constexpr std::uint16_t kExtraSamples = 0x0152;
constexpr std::uint16_t kExif = 0x8769;
constexpr std::uint16_t kPixelXDimension = 0xA002;
constexpr std::uint16_t kPixelYDimension = 0xA003;
constexpr std::uint16_t kDngVersion = 0xC612;
constexpr std::uint64_t kColourFilterArray = 32803;
constexpr std::uint64_t kLinearRaw = 34892;

Fields Sized(std::uint64_t width, std::uint64_t height, const Fields& more = {}) {
  const TiffBuilder tiff;
  Fields fields = {tiff.Long(kWidth, width), tiff.Long(kHeight, height)};
  fields.insert(fields.end(), more.begin(), more.end());
  return fields;
}

void ExpectRaw(const std::optional<PictureHeaders>& headers, std::uint32_t width, std::uint32_t height) {
  ExpectSize(headers, width, height);
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->type, imagecore::kPictureCameraRaw);
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
}

TEST(CameraRaw, DngWithTheSensorsPictureInASubDirectory) {
  TiffBuilder dng;
  dng.Add(Sized(256, 171,
                {dng.Long(kNewSubfileType, 1), TiffBuilder::Raw(kDngVersion, 1, "\1\4\0\0"s),
                 TiffBuilder::Link(kSubDirectories, {1, 2, 3, 4})}));
  dng.Add(Sized(6000, 4000, {dng.Long(kNewSubfileType, 0x10001), dng.Short(kCompression, 7)}));  // other preview
  dng.Add(Sized(5984, 3992,
                {dng.Long(kNewSubfileType, 0), dng.Short(kCompression, 7), dng.Short(kPhotometric, kColourFilterArray),
                 dng.Short(kExtraSamples, 2)}));
  dng.Add(Sized(9000, 6000, {dng.Long(kNewSubfileType, 16), dng.Short(kPhotometric, kLinearRaw)}));  // enhanced
  dng.Add(Sized(5984, 9000, {dng.Long(kNewSubfileType, 4)}));                                        // mask
  const auto headers = ReadPicture(dng.Bytes());
  ExpectRaw(headers, 5984, 3992);
  EXPECT_EQ(headers->fourcc, FourCC("JPEG"));
}

TEST(CameraRaw, DngWithTheSensorsPictureInFront) {
  TiffBuilder dng(std::endian::big);
  dng.Add({dng.Long(kNewSubfileType, 0), dng.Long(kWidth, 5984), dng.Long(kHeight, 3992),
           TiffBuilder::Raw(kDngVersion, 1, "\1\4\0\0"s)});
  const auto headers = ReadPicture(dng.Bytes());
  ExpectRaw(headers, 5984, 3992);
  EXPECT_EQ(headers->fourcc, FourCC("TIFF"));
}

TEST(CameraRaw, DngOfLinearValues) {
  TiffBuilder dng;
  dng.Add(Sized(256, 171, {TiffBuilder::Raw(kDngVersion, 1, "\1\4\0\0"s), TiffBuilder::Link(kSubDirectories, {1, 2})}));
  dng.Add(Sized(3000, 2000, {dng.Short(kPhotometric, kLinearRaw), dng.Short(kCompression, 34892)}));
  dng.Add(Sized(4000, 3000, {dng.Short(kPhotometric, 6)}));  // a preview that is not marked as one
  const auto headers = ReadPicture(dng.Bytes());
  ExpectRaw(headers, 3000, 2000);
  EXPECT_EQ(headers->fourcc, FourCC("JPEG"));
}

TEST(CameraRaw, SensorDataTellARawWhateverItsName) {
  for (const auto& [tag, value] : {std::pair{kPhotometric, kColourFilterArray},
                                   {kPhotometric, kLinearRaw},
                                   {kCompression, std::uint64_t{32767}},
                                   {kCompression, std::uint64_t{32769}},
                                   {kCompression, std::uint64_t{32770}},
                                   {kCompression, std::uint64_t{32772}},
                                   {kCompression, std::uint64_t{34713}},
                                   {kCompression, std::uint64_t{65000}},
                                   {kCompression, std::uint64_t{65535}}}) {
    SCOPED_TRACE(value);
    TiffBuilder in_front;
    in_front.Add(Sized(4000, 3000, {in_front.Long(tag, value)}));
    ExpectRaw(ReadPicture(in_front.Bytes()), 4000, 3000);

    TiffBuilder below;
    below.Add(Sized(160, 120, {below.Long(kNewSubfileType, 1), TiffBuilder::Link(kSubDirectories, {1, 2})}));
    below.Add(Sized(4000, 3000, {below.Long(kNewSubfileType, 1)}));
    below.Add(Sized(4032, 3024, {below.Long(kNewSubfileType, 0), below.Long(tag, value)}));
    ExpectRaw(ReadPicture(below.Bytes()), 4032, 3024);
  }
  for (const std::uint64_t compression : {1, 5, 7, 8, 32771, 32773, 32946}) {
    TiffBuilder plain;
    plain.Add(Sized(160, 120, {plain.Long(kCompression, compression), TiffBuilder::Ascii(kMake, "Maker")}));
    EXPECT_EQ(ReadPicture(plain.Bytes())->type, imagecore::kPictureTiff) << compression;
  }
}

TEST(CameraRaw, CanonsMarkTellTheRawAndExifItsSize) {
  for (const std::string& mark : {"CR\2\0\0\0\0\0"s, "\xba\xb0\xac\xbb\0\0\0\0"s}) {
    TiffBuilder raw;
    raw.SetMark(mark);
    raw.Add(Sized(1936, 1288, {raw.Short(kCompression, 6), TiffBuilder::Link(kExif, {1})}), 2);
    raw.Add({raw.Short(kPixelXDimension, 3888), raw.Short(kPixelYDimension, 2592)});
    raw.Add(Sized(160, 120));
    const auto headers = ReadPicture(raw.Bytes());
    ExpectRaw(headers, 3888, 2592);
    EXPECT_EQ(headers->fourcc, FourCC("JPEG"));
  }
  TiffBuilder plain;
  plain.SetMark("CR\1\0\0\0\0\0"s);
  plain.Add(Sized(1936, 1288, {TiffBuilder::Link(kExif, {1})}));
  plain.Add({plain.Short(kPixelXDimension, 3888), plain.Short(kPixelYDimension, 2592)});
  const auto headers = ReadPicture(plain.Bytes());
  ExpectSize(headers, 1936, 1288);
  EXPECT_EQ(headers->type, imagecore::kPictureTiff);
}

TEST(CameraRaw, PhaseOnesMarkTellsTheRaw) {
  for (const auto& [order, mark] : {std::pair{std::endian::little, "IIIITwaR"s}, {std::endian::big, "MMMMRawT"s}}) {
    TiffBuilder raw(order);
    raw.SetMark(mark);
    raw.Add({raw.Short(kWidth, 4080), raw.Short(kHeight, 5440)});
    ExpectRaw(ReadPicture(raw.Bytes()), 4080, 5440);
  }
  TiffBuilder grey;
  grey.SetMark("IIIIIIII");  // pixels
  grey.Add(Sized(8, 1));
  EXPECT_EQ(ReadPicture(grey.Bytes())->type, imagecore::kPictureTiff);
}

TEST(CameraRaw, SmallerExifSizeDoesNotShrinkAPreview) {
  for (const auto& [width, height] : {std::pair{5600, 9000}, {9000, 3700}}) {
    TiffBuilder raw;
    raw.SetMark("CR\2\0\0\0\0\0"s);
    raw.Add(Sized(5616, 3744, {TiffBuilder::Link(kExif, {1})}));
    raw.Add({raw.Long(kPixelXDimension, static_cast<std::uint64_t>(width)),
             raw.Long(kPixelYDimension, static_cast<std::uint64_t>(height))});
    ExpectRaw(ReadPicture(raw.Bytes()), 5616, 3744);
  }
}

TEST(CameraRaw, SensorsPictureHoldsOverExif) {
  TiffBuilder raw;
  raw.Add(Sized(4032, 3024, {raw.Long(kPhotometric, kColourFilterArray), TiffBuilder::Link(kExif, {1})}));
  raw.Add({raw.Short(kPixelXDimension, 5000), raw.Short(kPixelYDimension, 5000)});
  ExpectRaw(ReadPicture(raw.Bytes()), 4032, 3024);
}

TEST(CameraRaw, CutBeforeTheSensorsPicture) {
  TiffBuilder raw;
  raw.Add({raw.Long(kNewSubfileType, 1), TiffBuilder::Ascii(kMake, "Maker"), raw.Short(kOrientation, 6),
           raw.Long(kSubDirectories, 100000), TiffBuilder::Link(kExif, {1})});
  raw.Add({raw.Short(kPixelXDimension, 6000), raw.Short(kPixelYDimension, 4000)});
  const auto headers = ReadPicture(raw.Bytes());
  ExpectRaw(headers, 6000, 4000);
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(kMake, "Maker"), exif.Short(kOrientation, 6)});
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(exif.Bytes()));
}

TEST(CameraRaw, OlympusHasAMagicOfItsOwn) {
  for (const auto& [order, magic] :
       {std::pair{std::endian::little, "RO"s}, {std::endian::little, "RS"s}, {std::endian::big, "OR"s}}) {
    TiffBuilder raw(order);
    raw.SetMagic(magic);
    raw.Add({raw.Long(kWidth, 4640), raw.Long(kHeight, 3472), TiffBuilder::Ascii(kMake, "Maker")});
    const auto headers = ReadPicture(raw.Bytes());
    ExpectRaw(headers, 4640, 3472);
    TiffBuilder exif(order);
    exif.Add({TiffBuilder::Ascii(kMake, "Maker")});
    EXPECT_EQ(headers->metadata.exif_values, ExifIn(exif.Bytes()));
  }
}

TEST(CameraRaw, PanasonicsSizeIsBetweenTheBordersOfTheSensor) {
  TiffBuilder raw;
  raw.SetMagic("U\0"s);
  raw.Add({raw.Short(2, 5272), raw.Short(3, 3904), raw.Short(4, 8), raw.Short(5, 16), raw.Short(6, 3896),
           raw.Short(7, 5200)});
  ExpectRaw(ReadPicture(raw.Bytes()), 5184, 3888);

  TiffBuilder without_borders;
  without_borders.SetMagic("U\0"s);
  without_borders.Add(
      {raw.Short(2, 5272), raw.Short(3, 3904), raw.Short(4, 8), raw.Short(5, 16), raw.Short(6, 8), raw.Short(7, 5200)});
  ExpectRaw(ReadPicture(without_borders.Bytes()), 5272, 3904);

  TiffBuilder plain;  // the same tags mean nothing in TIFF
  plain.Add({raw.Short(2, 5272), raw.Short(3, 3904)});
  EXPECT_FALSE(ReadPicture(plain.Bytes()));
}

TEST(CameraRaw, PanasonicsSensorHoldsOverExif) {
  TiffBuilder raw;
  raw.SetMagic("U\0"s);
  raw.Add({raw.Short(2, 5272), raw.Short(3, 3904), TiffBuilder::Link(kExif, {1})});
  raw.Add({raw.Short(kPixelXDimension, 6000), raw.Short(kPixelYDimension, 6000)});
  ExpectRaw(ReadPicture(raw.Bytes()), 5272, 3904);
}

TEST(CameraRaw, PanasonicsExifIsThatOfItsPreview) {
  TiffBuilder raw;
  raw.SetMagic("U\0"s);
  raw.Add({raw.Short(2, 5272), raw.Short(3, 3904), TiffBuilder::Raw(0x2E, 7, JpegWithExif(MakerOnly("inside"))),
           TiffBuilder::Ascii(kMake, "outside")});
  EXPECT_EQ(ReadPicture(raw.Bytes())->metadata.exif_values, ExifIn(MakerOnly("inside")));

  TiffBuilder without_preview;
  without_preview.SetMagic("U\0"s);
  without_preview.Add({raw.Short(2, 5272), raw.Short(3, 3904), TiffBuilder::Raw(0x2E, 7, "no picture"),
                       TiffBuilder::Ascii(kMake, "outside")});
  EXPECT_EQ(ReadPicture(without_preview.Bytes())->metadata.exif_values, ExifIn(MakerOnly("outside")));
}

TEST(CameraRaw, LittleIsReadOfALargeFile) {
  TiffBuilder raw;
  raw.Add(Sized(160, 120,
                {raw.Long(kNewSubfileType, 1), TiffBuilder::Ascii(kMake, "Maker"),
                 TiffBuilder::Link(kSubDirectories, {1}), TiffBuilder::Link(kExif, {2})}));
  raw.Add(Sized(8000, 6000, {raw.Long(kNewSubfileType, 0), raw.Short(kPhotometric, kColourFilterArray)}));
  raw.Add({TiffBuilder::Raw(0x927C, 7, std::string(200000, 'n')), TiffBuilder::Ascii(0x9003, "now")});
  SparseSource source(std::uint64_t{100} << 20);
  source.Put(0, raw.Bytes());
  std::string reason;
  ExpectRaw(ReadPictureHeaders(source, &reason), 8000, 6000);
  EXPECT_LT(source.BytesRead(), 8192U);
}

}  // namespace
}  // namespace media_server::image
