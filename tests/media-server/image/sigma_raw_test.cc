#include "media-server/image/sigma_raw.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media-server/image/fourcc.h"
#include "media-server/image/shot_exif.h"
#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using Sections = std::vector<std::pair<std::string, std::string>>;

std::string Utf16(const std::string& ascii) {
  std::string units;
  for (const char letter : ascii + '\0') units += Le(static_cast<unsigned char>(letter), 2);
  return units;
}

std::string Properties(const std::vector<std::pair<std::string, std::string>>& pairs) {
  std::string places;
  std::string pool;
  for (const auto& [name, value] : pairs) {
    places += Le(pool.size() / 2, 4);
    pool += Utf16(name);
    places += Le(pool.size() / 2, 4);
    pool += Utf16(value);
  }
  // Mark, version, count, UTF-16, reserved, length.
  return "SECp" + Le(0x20000, 4) + Le(pairs.size(), 4) + Le(0, 4) + Le(0, 4) + Le(pool.size() / 2, 4) + places + pool;
}

/// Mark, version, type, format, columns, rows, bytes of a row.
std::string Preview(const std::string& content) {
  return "SECi" + Le(0x20000, 4) + Le(2, 4) + Le(18, 4) + Le(32, 4) + Le(16, 4) + Le(0, 4) + content;
}

std::string X3f(std::uint32_t version, std::uint32_t rotation, const Sections& sections = {}) {
  std::string file = "FOVb" + Le(version, 4) + Zeros(version < 0x40000 ? 20 : 32) + Le(2268, 4) + Le(1512, 4) +
                     Le(rotation, 4) + Zeros(200);
  std::string directory = "SECd" + Le(0x20000, 4) + Le(sections.size(), 4);
  for (const auto& [type, content] : sections) {
    directory += Le(file.size(), 4) + Le(content.size(), 4) + type;
    file += content;
  }
  return file + directory + Le(file.size(), 4);
}

TEST(SigmaRaw, SizeAndRotationOfEveryVersion) {
  for (const std::uint32_t version : {0x20000U, 0x20003U, 0x30000U, 0x40000U, 0x40001U}) {
    const auto headers = ReadPicture(X3f(version, 90));
    ExpectSize(headers, 2268, 1512);
    EXPECT_EQ(headers->type, imagecore::kPictureCameraRaw);
    EXPECT_EQ(headers->fourcc, FourCC("X3F "));
    EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
    EXPECT_EQ(headers->orientation, (Orientation{imagecore::kFlipNone, 90}));
    EXPECT_FALSE(HasPayload(headers->metadata));
  }
  EXPECT_EQ(ReadPicture(X3f(0x20000, 0))->orientation, Orientation());
  EXPECT_EQ(ReadPicture(X3f(0x20000, 45))->orientation, std::nullopt);
  EXPECT_EQ(ReadPicture(X3f(0x20000, 360))->orientation, std::nullopt);
}

TEST(SigmaRaw, ExifOfThePreview) {
  const auto headers = ReadPicture(X3f(0x20003, 0,
                                       {{"PROP", Properties({{"CAMMANUF", "properties"}})},
                                        {"IMAG", Preview("pixels without a header")},
                                        {"IMA2", Preview(JpegWithExif(MakerOnly("preview")))},
                                        {"IMA2", Preview(JpegWithExif(MakerOnly("a second preview")))}}));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(MakerOnly("preview")));
}

TEST(SigmaRaw, PropertiesWhereThereIsNoExif) {
  const auto headers = ReadPicture(X3f(0x20003, 0,
                                       {{"IMA2", Preview(JpegWithExif(""))},
                                        {"PROP", Properties({{"FLASH", "off"},
                                                             {"CAMMANUF", "SIGMA"},
                                                             {"CAMMODEL", "SD14"},
                                                             {"TIME", "1049522828"},
                                                             {"EXPTIME", "8000"}})}}));
  ASSERT_TRUE(headers);
  TiffBuilder exif;
  exif.Add({TiffBuilder::Ascii(0x010F, "SIGMA"), TiffBuilder::Ascii(0x0110, "SD14"), TiffBuilder::Link(0x8769, {1})});
  exif.Add({exif.Rational(0x829A, {8000, 1000000}), TiffBuilder::Ascii(0x9003, "2003:04:05 06:07:08")});
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(exif.Bytes()));
}

TEST(SigmaRaw, PropertiesThatAreNoNumbersSayNothing) {
  const auto headers = ReadPicture(X3f(0x20003, 0, {{"PROP", Properties({{"TIME", "noon"}, {"EXPTIME", "8000us"}})}}));
  ASSERT_TRUE(headers);
  EXPECT_TRUE(headers->metadata.exif_values.empty());
}

TEST(SigmaRaw, CutFilesAreToldAsLongAsTheirHeaderIsThere) {
  const Sections sections = {{"PROP", Properties({{"CAMMANUF", "SIGMA"}})},
                             {"IMA2", Preview(JpegWithExif(MakerOnly("preview")))}};
  ExpectSameSizeOfEveryPrefix(X3f(0x20003, 0, sections), 40);
  ExpectSameSizeOfEveryPrefix(X3f(0x40000, 0, sections), 52);
}

TEST(SigmaRaw, DirectoriesThatLieAreReadWithinBounds) {
  const std::string header = X3f(0x20003, 0).substr(0, 240);
  const std::string far_section = Le(UINT32_MAX, 4) + Le(UINT32_MAX, 4);
  std::string directory = "SECd" + Le(0x20000, 4) + Le(UINT32_MAX, 4);
  for (int i = 0; i < 10000; ++i) directory += far_section + "PROP" + far_section + "IMA2";
  MemorySource source(header + directory + Le(header.size(), 4));
  std::string reason;
  ExpectSize(ReadPictureHeaders(source, &reason), 2268, 1512);
  EXPECT_LT(source.BytesRead(), 16384U);

  std::vector<std::pair<std::string, std::string>> pairs(257, {"CAMMANUF", "SIGMA"});
  EXPECT_TRUE(ReadPicture(X3f(0x20003, 0, {{"PROP", Properties(pairs)}}))->metadata.exif_values.empty());
  pairs.pop_back();
  EXPECT_FALSE(ReadPicture(X3f(0x20003, 0, {{"PROP", Properties(pairs)}}))->metadata.exif_values.empty());
  std::string properties = "SECp" + Le(0, 4) + Le(UINT32_MAX, 4) + Zeros(12);
  EXPECT_TRUE(ReadPicture(X3f(0x20003, 0, {{"PROP", properties}}))->metadata.exif_values.empty());
  properties = "SECp" + Le(0, 4) + Le(1, 4) + Zeros(12) + Le(UINT32_MAX, 4) + Le(0x80000000, 4) + Utf16("CAMMANUF");
  EXPECT_TRUE(ReadPicture(X3f(0x20003, 0, {{"PROP", properties}}))->metadata.exif_values.empty());
}

}  // namespace
}  // namespace media_server::image
