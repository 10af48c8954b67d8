#include "media-server/image/image_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

std::string ReasonFor(const std::string& bytes) {
  MemorySource source(bytes);
  std::string reason;
  EXPECT_FALSE(ReadPictureHeaders(source, &reason));
  return reason;
}

TEST(ImageReader, SaysWhyAFileIsRefused) {
  EXPECT_EQ(ReasonFor(""), "empty file");
  EXPECT_EQ(ReasonFor("just text"), "not an image");
  EXPECT_EQ(ReasonFor(FromHex("474946383961 7a00 4c")), "file ends early");
  EXPECT_EQ(ReasonFor(FromHex("89504e470d0a1a0a 0000000d 49444154") + Zeros(100)), "the picture's header is damaged");
}

TEST(ImageReader, RefusesSizesThatTheRecordCannotHold) {
  const std::string bitmap = FromHex("424d 00000000 00000000 00000000 28000000");
  const std::string rest = FromHex("0100 1800") + Zeros(24) + Zeros(64);  // pixels
  ExpectSize(ReadPicture(bitmap + Le(0x7FFFFFFF, 4) + Le(1, 4) + rest), 0x7FFFFFFF, 1);
  EXPECT_EQ(ReasonFor(bitmap + Le(0x80000000, 4) + Le(1, 4) + rest), "the picture's header is damaged");
  EXPECT_EQ(ReasonFor(bitmap + Le(1, 4) + Le(0, 4) + rest), "the picture's header is damaged");
}

}  // namespace
}  // namespace media_server::image
