#include "media-server/codec/screen_video.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

TEST(ScreenVideo, ReadsTheSizeBehindThatOfTheBlocks) {
  const auto picture = ReadScreenVideoFrame(Hex("3280 11e0 00"));  // blocks of 64 and 32; 640x480
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 640U);
  EXPECT_EQ(picture->height, 480U);
}

TEST(ScreenVideo, OtherBytesAreNone) {
  EXPECT_FALSE(ReadScreenVideoFrame({}));
  EXPECT_FALSE(ReadScreenVideoFrame(Hex("3280 11")));
  EXPECT_FALSE(ReadScreenVideoFrame(Hex("3000 11e0"))) << "no width";
  EXPECT_FALSE(ReadScreenVideoFrame(Hex("3280 1000"))) << "no height";
}

}  // namespace
}  // namespace media_server::codec
