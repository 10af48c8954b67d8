#include "media-server/image/radiance.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;
using namespace imagecore;

const std::string kHeader = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

std::optional<PictureHeaders> Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!ReadRadiance(source, headers)) return std::nullopt;
  return headers;
}

TEST(Radiance, ResolutionStandsBehindTheEmptyLine) {
  const auto headers = Read("#?RADIANCE\n# -Y 1 +X 1\nVIEW= -vtv\nFORMAT=32-bit_rle_rgbe\n\n-Y 23 +X 37\npixels");
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->fourcc, FourCC("HDR "));
  EXPECT_EQ(headers->alpha, kAlphaNone);
  EXPECT_EQ(Read("#?RGBE\r\n\r\n-Y 23 +X 37\r\n")->size, (PictureSize{37, 23}));
}

TEST(Radiance, OrderAndSignsAreTheOrientation) {
  struct Row {
    const char* resolution;
    Orientation orientation;
  };
  const Row rows[] = {
      {"-Y 23 +X 37", {kFlipNone, 0}},          // as shown
      {"-Y 23 -X 37", {kFlipHorizontal, 0}},    // lines from the right
      {"+Y 23 +X 37", {kFlipVertical, 0}},      // the bottom line first
      {"+Y 23 -X 37", {kFlipNone, 180}},        //
      {"+X 23 -Y 37", {kFlipHorizontal, 270}},  // columns for lines: transposed
      {"+X 23 +Y 37", {kFlipNone, 270}},        // turned clockwise
      {"-X 23 -Y 37", {kFlipNone, 90}},         // turned the other way
      {"-X 23 +Y 37", {kFlipHorizontal, 90}},   // transposed over the other diagonal
  };
  for (const Row& row : rows) {
    const auto headers = Read(kHeader + row.resolution + "\n");
    ASSERT_TRUE(headers) << row.resolution;
    EXPECT_EQ(headers->size, (PictureSize{37, 23})) << row.resolution;
    EXPECT_EQ(headers->orientation, row.orientation) << row.resolution;
  }
}

TEST(Radiance, OtherLinesAreNoResolution) {
  for (const char* line :
       {"-Y 23\n", "-Y 23 -Y 37\n", "Y 23 X 37\n", "-Y +X 37\n", "-Y 99999999999 +X 37\n", "\n", "-Y 23 +X 37"}) {
    EXPECT_FALSE(Read(kHeader + line)) << line;
  }
  EXPECT_FALSE(Read("#?RADIANCE\n-Y 23 +X 37\n"));
}

TEST(Radiance, HeaderIsLookedForInTheFirst64KiB) {
  std::string history = "#?RADIANCE\n";
  while (history.size() < 60000) history += "falsecolor -e -i picture\n";
  EXPECT_EQ(Read(history + "\n-Y 23 +X 37\n")->size, (PictureSize{37, 23}));
  MemorySource source(history + history + "\n-Y 23 +X 37\n");
  PictureHeaders headers;
  EXPECT_FALSE(ReadRadiance(source, headers));
  EXPECT_LE(source.BytesRead(), 66U * 1024);
}

}  // namespace
}  // namespace media_server::image
