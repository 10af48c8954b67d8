#include "media-server/image/tiff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "media-server/container/byte_reader.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"
#include "tests/media-server/image/tiff_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using ::testing::Optional;

constexpr std::uint16_t kNewSubfileType = 0x00FE;
constexpr std::uint16_t kSubfileType = 0x00FF;
constexpr std::uint16_t kWidth = 0x0100;
constexpr std::uint16_t kHeight = 0x0101;
constexpr std::uint16_t kCompression = 0x0103;
constexpr std::uint16_t kSubDirectories = 0x014A;
constexpr std::uint16_t kExtraSamples = 0x0152;
constexpr std::uint16_t kXmp = 0x02BC;
constexpr std::uint16_t kIptc = 0x83BB;
constexpr std::uint16_t kPhotoshop = 0x8649;

/// A file of one picture of 640 x 480 pixels with `fields` behind its size.
std::string OnePicture(std::vector<TiffBuilder::Field> fields) {
  TiffBuilder tiff;
  fields.insert(fields.begin(), {tiff.Short(kWidth, 640), tiff.Short(kHeight, 480)});
  tiff.Add(std::move(fields));
  return tiff.Bytes();
}

std::optional<imagecore::AlphaMode> AlphaOf(std::initializer_list<std::uint64_t> extra_samples) {
  const auto headers = ReadPicture(OnePicture({TiffBuilder().Short(kExtraSamples, extra_samples)}));
  return headers ? headers->alpha : std::nullopt;
}

std::string FourCCOfCompression(std::uint64_t compression) {
  const auto headers = ReadPicture(OnePicture({TiffBuilder().Short(kCompression, compression)}));
  if (!headers) return "none";
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(headers->fourcc >> shift & 0xFF);
  return text;
}

TEST(Tiff, SizeInBothByteOrdersAndWidths) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const bool is_big_tiff : {false, true}) {
      TiffBuilder tiff(order, is_big_tiff);
      tiff.Add({tiff.Short(kWidth, 640), tiff.Long(kHeight, 70000)});
      const auto headers = ReadPicture(tiff.Bytes());
      ExpectSize(headers, 640, 70000);
      EXPECT_EQ(headers->type, imagecore::kPictureTiff);
      EXPECT_EQ(headers->fourcc, FourCC("TIFF"));
      EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
      EXPECT_EQ(headers->orientation, std::nullopt);
    }
  }
}

TEST(Tiff, SizeMayBeAnyWholeNumber) {
  TiffBuilder tiff(std::endian::big, /*is_big_tiff=*/true);
  tiff.Add({tiff.Byte(kWidth, 64), tiff.Long8(kHeight, 48)});
  ExpectSize(ReadPicture(tiff.Bytes()), 64, 48);
}

TEST(Tiff, WithoutASizeItIsRefused) {
  TiffBuilder tiff;
  const auto refuses = [](std::vector<TiffBuilder::Field> fields) {
    TiffBuilder of_fields;
    of_fields.Add(std::move(fields));
    return !ReadPicture(of_fields.Bytes());
  };
  EXPECT_TRUE(refuses({tiff.Short(kWidth, 640)}));
  EXPECT_TRUE(refuses({tiff.Short(kHeight, 480)}));
  EXPECT_TRUE(refuses({tiff.Short(kWidth, 0), tiff.Short(kHeight, 480)}));
  EXPECT_TRUE(refuses({tiff.Short(kWidth, 640), tiff.Short(kHeight, 0)}));
  EXPECT_TRUE(refuses({tiff.Long(kWidth, 0x80000000), tiff.Short(kHeight, 480)}));
  EXPECT_TRUE(refuses({TiffBuilder::Ascii(kWidth, "640"), tiff.Short(kHeight, 480)}));
  EXPECT_FALSE(refuses({tiff.Short(kWidth, 640), tiff.Short(kHeight, 480)}));

  TiffBuilder big(std::endian::little, /*is_big_tiff=*/true);
  big.Add({big.Long8(kWidth, (std::uint64_t{1} << 32) + 640), big.Short(kHeight, 480)});
  EXPECT_FALSE(ReadPicture(big.Bytes()));
}

TEST(Tiff, TheFirstPictureOfFullResolutionCounts) {
  TiffBuilder tiff;
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 160), tiff.Short(kHeight, 120)}, 1);
  tiff.Add({tiff.Long(kNewSubfileType, 4), tiff.Short(kWidth, 640), tiff.Short(kHeight, 481)}, 2);  // mask
  tiff.Add({tiff.Short(kSubfileType, 2), tiff.Short(kWidth, 320), tiff.Short(kHeight, 240)}, 3);
  tiff.Add({tiff.Long(kNewSubfileType, 2), tiff.Short(kWidth, 640), tiff.Short(kHeight, 480)}, 4);  // page 1 of many
  tiff.Add({tiff.Long(kNewSubfileType, 2), tiff.Short(kWidth, 800), tiff.Short(kHeight, 600)});
  ExpectSize(ReadPicture(tiff.Bytes()), 640, 480);
}

TEST(Tiff, APictureInASubDirectoryOfAThumbnailCounts) {
  TiffBuilder tiff;
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 160), tiff.Short(kHeight, 120),
            TiffBuilder::Link(kSubDirectories, {1, 2})});
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 320), tiff.Short(kHeight, 240)});
  tiff.Add({tiff.Long(kNewSubfileType, 0), tiff.Short(kWidth, 640), tiff.Short(kHeight, 480)});
  const auto headers = ReadPicture(tiff.Bytes());
  ExpectSize(headers, 640, 480);
  EXPECT_EQ(headers->type, imagecore::kPictureTiff);
}

TEST(Tiff, ReducedPicturesAloneCountToo) {
  TiffBuilder tiff;
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 160), tiff.Short(kHeight, 120)}, 1);
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 320), tiff.Short(kHeight, 240)});
  ExpectSize(ReadPicture(tiff.Bytes()), 160, 120);
}

TEST(Tiff, SubDirectoriesOfAFullPictureAreItsReducedVersions) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(kWidth, 640), tiff.Short(kHeight, 480), TiffBuilder::Ascii(0x010F, "Maker"),
            TiffBuilder::Link(kSubDirectories, {1})});
  tiff.Add({tiff.Short(kWidth, 900), tiff.Short(kHeight, 900)});
  const auto headers = ReadPicture(tiff.Bytes());
  ExpectSize(headers, 640, 480);
  EXPECT_EQ(headers->type, imagecore::kPictureTiff);
}

TEST(Tiff, PagesBehindAFullPictureAreNotRead) {
  TiffBuilder tiff;
  tiff.Add({tiff.Short(kWidth, 640), tiff.Short(kHeight, 480)}, 1);
  tiff.Add({tiff.Short(kWidth, 900), tiff.Short(kHeight, 900), tiff.Long(0x0106, 32803)});
  const auto headers = ReadPicture(tiff.Bytes());
  ExpectSize(headers, 640, 480);
  EXPECT_EQ(headers->type, imagecore::kPictureTiff);
}

TEST(Tiff, ExtraSamplesTellAlpha) {
  EXPECT_EQ(AlphaOf({0}), imagecore::kAlphaNone);
  EXPECT_EQ(AlphaOf({1}), imagecore::kAlphaPremultiplied);
  EXPECT_EQ(AlphaOf({2}), imagecore::kAlphaStraight);
  EXPECT_EQ(AlphaOf({3}), imagecore::kAlphaNone);
  EXPECT_EQ(AlphaOf({0, 0, 2}), imagecore::kAlphaStraight);
  EXPECT_EQ(AlphaOf({2, 1}), imagecore::kAlphaStraight);
}

TEST(Tiff, CompressionNamesTheCodedPicture) {
  EXPECT_EQ(FourCCOfCompression(1), "TIFF");
  EXPECT_EQ(FourCCOfCompression(5), "TIFF");
  EXPECT_EQ(FourCCOfCompression(6), "JPEG");
  EXPECT_EQ(FourCCOfCompression(7), "JPEG");
  EXPECT_EQ(FourCCOfCompression(32773), "TIFF");
  EXPECT_EQ(FourCCOfCompression(34712), "MJP2");
  EXPECT_EQ(FourCCOfCompression(34892), "JPEG");
  EXPECT_EQ(FourCCOfCompression(50001), "WEBP");
  EXPECT_EQ(FourCCOfCompression(50002), "jxl ");
  EXPECT_EQ(FourCCOfCompression(52546), "jxl ");
}

TEST(Tiff, MetadataOfTheFirstDirectory) {
  const std::string data_sets = "\x1c\2\x05\0\5title"s;
  const auto headers =
      ReadPicture(OnePicture({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(kXmp, 1, "<x:xmpmeta/>"),
                              TiffBuilder::Raw(kIptc, 7, data_sets)}));
  ASSERT_TRUE(headers);
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(0x010F, "Maker")});
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(exif.Bytes()));
  EXPECT_EQ(headers->metadata.xmp, "<x:xmpmeta/>");
  EXPECT_EQ(Text(headers->metadata.iptc), data_sets);
}

TEST(Tiff, IptcDeclaredAsNumbersMayBeTurnedRound) {
  const std::string straight = "\x1c\2\x05\0\7title: "s;
  TiffBuilder::Field field = TiffBuilder::Raw(kIptc, 4, straight);
  field.count = straight.size() / 4;
  auto headers = ReadPicture(OnePicture({field}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(Text(headers->metadata.iptc), straight);

  field.value =
      "\0\x05\2\x1c"
      "tit\7"
      " :el"s;
  headers = ReadPicture(OnePicture({field}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(Text(headers->metadata.iptc), straight);

  const std::string long_set = "\x1c\2\x05\x1c\0"s + std::string(0x1c00, 't');
  headers = ReadPicture(OnePicture({TiffBuilder::Raw(kIptc, 7, long_set)}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(Text(headers->metadata.iptc), long_set);
}

TEST(Tiff, IptcOfPhotoshopsResources) {
  const std::string other = "8BIM\x03\xed\0\0"s + Be(3, 4) + "abc\0"s;
  const std::string iptc = "8BIM\x04\x04\0\0"s + Be(10, 4) + "\x1c\2\x05\0\5title"s;
  const std::string rest = std::string(300000, 'r');
  const auto headers = ReadPicture(OnePicture({TiffBuilder::Raw(kPhotoshop, 7, other + iptc + rest)}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(Text(headers->metadata.iptc), "\x1c\2\x05\0\5title"s);
}

TEST(Tiff, CutFilesAreToldAsLongAsTheirSizeIsThere) {
  // Header, count, width and height.
  ExpectSameSizeOfEveryPrefix(OnePicture({TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(kXmp, 1, "<x:xmp/>")}),
                              8 + 2 + 2 * 12);
}

TEST(Tiff, PayloadsOutsideTheFileAreLeftOut) {
  const auto headers = ReadPicture(OnePicture({TiffBuilder::Entry(kXmp, 1, 100, Le(UINT32_MAX, 4)),
                                               TiffBuilder::Entry(kIptc, 4, UINT32_MAX, Le(8, 4)),
                                               TiffBuilder::Entry(kPhotoshop, 7, 100, Le(100, 4))}));
  ExpectSize(headers, 640, 480);
  EXPECT_FALSE(HasPayload(headers->metadata));
}

TEST(Tiff, LittleIsReadOfALargeFile) {
  TiffBuilder tiff;
  tiff.Add({tiff.Long(kWidth, 30000), tiff.Long(kHeight, 20000), TiffBuilder::Raw(0x010E, 2, std::string(500000, 'd')),
            TiffBuilder::Ascii(0x010F, "Maker"), TiffBuilder::Raw(kXmp, 1, std::string(120000, 'x')),
            TiffBuilder::Raw(kIptc, 7, std::string(200000, 'i')),
            TiffBuilder::Raw(kPhotoshop, 7, std::string(200000, 'p')), TiffBuilder::Link(0x8769, {1})});
  tiff.Add({TiffBuilder::Raw(0x9286, 7, std::string(65536, 'c'))});
  MemorySource source(tiff.Bytes());
  std::string reason;
  const auto headers = ReadPictureHeaders(source, &reason);
  ExpectSize(headers, 30000, 20000);
  EXPECT_EQ(headers->metadata.xmp.size(), 120000U);
  const ExifValue* comment = headers->metadata.exif_values.Find(ExifDirectory::kExif, kExifUserComment);
  ASSERT_TRUE(comment);
  EXPECT_EQ(comment->bytes.size(), 65536U);
  EXPECT_TRUE(headers->metadata.iptc.empty());
  EXPECT_LT(source.BytesRead(), 256U * 1024 + 8192);
}

TEST(Tiff, DirectoriesWithoutEndAreReadWithinBounds) {
  // Each of 1,000 reduced pictures has 500 entries.
  constexpr std::size_t kDirectorySize = 2 + 500 * 12 + 4;
  std::string bytes = "II*\0"s + Le(8, 4);
  for (int i = 0; i < 1000; ++i) {
    const std::size_t next = bytes.size() + kDirectorySize;
    bytes += Le(500, 2) + Le(kNewSubfileType, 2) + Le(4, 2) + Le(1, 4) + Le(1, 4) + Le(kWidth, 2) + Le(4, 2) +
             Le(1, 4) + Le(160, 4) + Le(kHeight, 2) + Le(4, 2) + Le(1, 4) + Le(120, 4) + Zeros(497 * 12) + Le(next, 4);
  }
  MemorySource source(bytes);
  std::string reason;
  ExpectSize(ReadPictureHeaders(source, &reason), 160, 120);
  EXPECT_LT(source.BytesRead(), 256U * 1024 + 8192);
}

TEST(Tiff, ALoopOfDirectoriesEnds) {
  TiffBuilder tiff;
  tiff.Add({tiff.Long(kNewSubfileType, 1), tiff.Short(kWidth, 160), tiff.Short(kHeight, 120),
            TiffBuilder::Link(kSubDirectories, {0, 1}), TiffBuilder::Link(0x8769, {0})},
           1);
  tiff.Add({tiff.Long(kNewSubfileType, 1), TiffBuilder::Link(kSubDirectories, {1, 0}), TiffBuilder::Link(0x8825, {1})},
           0);
  ExpectSize(ReadPicture(tiff.Bytes()), 160, 120);
}

}  // namespace
}  // namespace media_server::image
