#include "media-server/image/icon.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

constexpr int kIcon = 1;
constexpr int kCursor = 2;

struct Picture {
  int width;  // as the directory tells it
  int height;
  int bits;  // or the hot spot of a cursor
  std::string bytes;
};

/// A bitmap as icons hold it: the height is that of colours and mask.
std::string Bitmap(unsigned width, unsigned height, unsigned bits) {
  return Le(40, 4) + Le(width, 4) + Le(2 * height, 4) + Le(1, 2) + Le(bits, 2) + Zeros(24);
}

std::string Png(unsigned width, unsigned height, int color_type) {
  return "\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR"s + Be(width, 4) + Be(height, 4) + "\x08"s + static_cast<char>(color_type) +
         Zeros(3);
}

std::string Chunk(const std::string& type, const std::string& data) {
  return Be(data.size(), 4) + type + data + Zeros(4);
}

std::string Icon(const std::vector<Picture>& pictures, int type = kIcon) {
  std::string directory = Le(0, 2) + Le(static_cast<unsigned>(type), 2) + Le(pictures.size(), 2);
  std::string data;
  for (const Picture& picture : pictures) {
    directory += static_cast<char>(picture.width);
    directory += static_cast<char>(picture.height);
    directory += "\0\0"s + Le(1, 2) + Le(static_cast<unsigned>(picture.bits), 2) + Le(picture.bytes.size(), 4) +
                 Le(6 + 16 * pictures.size() + data.size(), 4);
    data += picture.bytes;
  }
  return directory + data;
}

TEST(Icon, TellsTheLargestPicture) {
  const auto headers = ReadPicture(
      Icon({{16, 16, 32, Bitmap(16, 16, 32)}, {48, 48, 8, Bitmap(48, 48, 8)}, {32, 32, 32, Bitmap(32, 32, 32)}}));
  ExpectSize(headers, 48, 48);
  EXPECT_EQ(headers->type, imagecore::kPictureOther);
  EXPECT_EQ(headers->fourcc, FourCC("BMP "));
}

TEST(Icon, BitmapsHaveAMaskBehindTheirColours) {
  for (const unsigned bits : {1U, 4U, 8U, 24U, 32U}) {
    EXPECT_EQ(ReadPicture(Icon({{16, 16, 0, Bitmap(16, 16, bits)}}))->alpha, imagecore::kAlphaStraight) << bits;
  }
}

TEST(Icon, PngsTellTheirTransparency) {
  const std::string transparency = Chunk("tRNS", Zeros(6));
  const std::string text = Chunk("tEXt", "Comment\0"s + std::string(5000, 'c'));
  const std::string data = Chunk("IDAT", "data");
  const auto alpha = [](const std::string& png) {
    return ReadPicture(Icon({{16, 16, 32, Bitmap(16, 16, 32)}, {0, 0, 24, png}}))->alpha;
  };
  EXPECT_EQ(alpha(Png(256, 256, 2) + Zeros(4) + data), imagecore::kAlphaNone);
  EXPECT_EQ(alpha(Png(256, 256, 2) + Zeros(4) + text + transparency + data), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(Png(256, 256, 6) + Zeros(4) + data), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(Png(256, 256, 2) + Zeros(4)), std::nullopt) << "cut";
}

TEST(Icon, ReadsABoundedPartOfAPng) {
  const std::string control = Chunk("acTL", Zeros(8));
  std::string frames;
  for (int i = 0; i < 100000; ++i) frames += Chunk("fcTL", Zeros(26));
  const std::string file = Icon({{0, 0, 24, Png(256, 256, 2) + Zeros(4) + control + frames}});
  MemorySource source(file);
  std::string reason;
  EXPECT_TRUE(ReadPictureHeaders(source, &reason));
  EXPECT_LE(source.BytesRead(), 300U * 1024);
}

TEST(Icon, TellsTheOneWithTheMostColoursOfTheLargest) {
  const auto headers =
      ReadPicture(Icon({{48, 48, 8, Bitmap(48, 48, 8)}, {48, 48, 32, Png(48, 48, 6)}, {48, 48, 4, Bitmap(48, 48, 4)}}));
  EXPECT_EQ(headers->fourcc, FourCC("PNG "));
}

TEST(Icon, TakesThePicturesOwnHeaderOverTheDirectory) {
  ExpectSize(ReadPicture(Icon({{0, 0, 32, Png(512, 500, 6)}, {128, 128, 32, Bitmap(128, 128, 32)}})), 512, 500);
  ExpectSize(ReadPicture(Icon({{64, 64, 24, Bitmap(30, 20, 24)}})), 30, 20);
  EXPECT_EQ(ReadPicture(Icon({{0, 0, 32, Png(256, 256, 2)}}))->fourcc, FourCC("PNG "));
}

TEST(Icon, FallsBackToTheDirectory) {
  const auto headers = ReadPicture(Icon({{0, 64, 32, ""}, {16, 16, 8, "rubbish"}}));
  ExpectSize(headers, 256, 64);
  EXPECT_EQ(headers->fourcc, 0U) << "how it is coded is not told";
  EXPECT_EQ(headers->alpha, imagecore::kAlphaStraight);
  const auto without_header = ReadPicture(Icon({{16, 16, 24, Bitmap(0, 20, 24)}}));
  ExpectSize(without_header, 16, 16);
  EXPECT_EQ(without_header->alpha, std::nullopt);
}

TEST(Icon, ReadsCursorsWhoseHotSpotStandsForTheirColours) {
  const auto headers = ReadPicture(Icon({{32, 32, 5, Bitmap(32, 32, 1)}, {32, 32, 32, ""}}, kCursor));
  ExpectSize(headers, 32, 32);
  EXPECT_EQ(headers->fourcc, FourCC("BMP "));
}

TEST(Icon, TellsTheSizeFromWhatIsThere) {
  const std::string file = Icon({{16, 16, 32, Bitmap(16, 16, 32)}, {48, 48, 8, Bitmap(48, 48, 8)}});
  for (std::size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    const auto headers = ReadPicture(file.substr(0, size));
    EXPECT_EQ(headers.has_value(), size >= 6 + 16);
    const std::uint32_t expected = size >= 6 + 2 * 16 ? 48 : 16;
    if (!headers) continue;
    ExpectSize(headers, expected, expected);
  }
}

TEST(Icon, LooksAtABoundedNumberOfPictures) {
  std::vector<Picture> pictures(65535, Picture{16, 16, 8, ""});
  pictures[255].width = 17;
  pictures[256].width = 255;
  std::string file = Icon(pictures);
  MemorySource source(file);
  std::string reason;
  ExpectSize(ReadPictureHeaders(source, &reason), 17, 16);
  EXPECT_LE(source.BytesRead(), 300U * 1024);
}

}  // namespace
}  // namespace media_server::image
