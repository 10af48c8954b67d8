#include "media-server/image/fujifilm_raw.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using Rows = std::vector<std::pair<std::uint16_t, std::string>>;

std::string HeightAndWidth(std::uint64_t height, std::uint64_t width) { return Be(height, 2) + Be(width, 2); }

std::string Table(const Rows& rows) {
  std::string table = Be(rows.size(), 4);
  for (const auto& [tag, value] : rows) table += Be(tag, 2) + Be(value.size(), 2) + value;
  return table;
}

std::string Raf(const std::string& table, const std::string& jpeg = JpegWithExif(MakerOnly("Maker"))) {
  constexpr std::size_t kHeader = 108;
  return "FUJIFILMCCD-RAW 0201FF159502X-T10"s + Zeros(84 - 33)     // magic, version, camera, model
         + Be(kHeader, 4) + Be(jpeg.size(), 4)                     // preview
         + Be(kHeader + jpeg.size(), 4) + Be(table.size(), 4)      // table
         + Be(kHeader + jpeg.size() + table.size(), 4) + Be(0, 4)  // the sensor's picture
         + jpeg + table;
}

TEST(FujifilmRaw, SizeWithoutBordersAndMetadataOfThePreview) {
  const auto headers = ReadPicture(Raf(Table({{0x0100, HeightAndWidth(4000, 6000)},
                                              {0x0110, HeightAndWidth(8, 16)},
                                              {0x0111, HeightAndWidth(3900, 5900)},
                                              {0x0121, HeightAndWidth(3800, 5800)}})));
  ExpectSize(headers, 5900, 3900);
  EXPECT_EQ(headers->type, imagecore::kPictureCameraRaw);
  EXPECT_EQ(headers->fourcc, FourCC("RAF "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->metadata.exif_values, ExifIn(MakerOnly("Maker")));
}

TEST(FujifilmRaw, OtherSizesStandInForIt) {
  ExpectSize(ReadPicture(Raf(Table({{0x0100, HeightAndWidth(4000, 6000)}, {0x0121, HeightAndWidth(3800, 5800)}}))),
             5800, 3800);
  ExpectSize(ReadPicture(Raf(Table({{0x0100, HeightAndWidth(4000, 6000)}}))), 6000, 4000);
  ExpectSize(ReadPicture(Raf(Table({{0x0111, "abc"}, {0x0121, HeightAndWidth(0, 1)}, {0x0100, HeightAndWidth(1, 2)}}))),
             2, 1);
  ExpectSize(ReadPicture(Raf(Table({{0x0110, HeightAndWidth(8, 16)}}))), 32, 16);  // the preview's
  ExpectSize(ReadPicture(Raf("")), 32, 16);
}

TEST(FujifilmRaw, WithoutAnySizeItIsRefused) {
  EXPECT_FALSE(ReadPicture(Raf(Table({{0x0110, HeightAndWidth(8, 16)}}), "no picture")));
  EXPECT_FALSE(ReadPicture(Raf("", "no picture")));
  EXPECT_FALSE(ReadPicture(Raf("").substr(0, 99)));
}

TEST(FujifilmRaw, AMissingPreviewLeavesTheSize) {
  const auto headers = ReadPicture(Raf(Table({{0x0100, HeightAndWidth(4000, 6000)}}), "no picture"));
  ExpectSize(headers, 6000, 4000);
  EXPECT_FALSE(HasPayload(headers->metadata));
}

TEST(FujifilmRaw, TablesThatLieAreReadWithinBounds) {
  std::string endless = Be(UINT32_MAX, 4);
  for (int i = 0; i < 25000; ++i) endless += Be(0x0200, 2) + Be(0, 2);
  MemorySource source(Raf(endless + Be(0x0100, 2) + Be(4, 2) + HeightAndWidth(4000, 6000)));
  std::string reason;
  ExpectSize(ReadPictureHeaders(source, &reason), 32, 16);
  EXPECT_LT(source.BytesRead(), 20000U);
  ExpectSize(ReadPicture(Raf(Be(2, 4) + Be(0x0100, 2) + Be(0xFFFF, 2) + HeightAndWidth(4000, 6000))), 32, 16);
}

TEST(FujifilmRaw, EveryPrefixIsReadWithinBounds) {
  const std::string whole = Raf(Table({{0x0111, HeightAndWidth(3900, 5900)}}));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto headers = ReadPicture(whole.substr(0, size));
    if (headers) {
      EXPECT_EQ(headers->size, (PictureSize{32, 16})) << size;
    }
  }
}

}  // namespace
}  // namespace media_server::image
