#include "media-server/image/embedded_jpeg.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/image/exif_jpeg.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

TEST(EmbeddedJpeg, ReadsThePictureAtAnOffset) {
  MemorySource source("in front" + JpegWithExif(MakerOnly("Maker")) + "behind");
  const PictureHeaders headers = ReadEmbeddedJpeg(source, 8);
  EXPECT_EQ(headers.size, (PictureSize{32, 16}));
  EXPECT_EQ(Text(headers.metadata.exif), MakerOnly("Maker"));
}

TEST(EmbeddedJpeg, NothingWhereNoPictureBegins) {
  MemorySource source("in front" + JpegWithExif(MakerOnly("Maker")));
  for (const std::uint64_t offset :
       {std::uint64_t{0}, std::uint64_t{7}, std::uint64_t{9}, std::uint64_t{1000}, UINT64_MAX}) {
    const PictureHeaders headers = ReadEmbeddedJpeg(source, offset);
    EXPECT_FALSE(headers.size) << offset;
    EXPECT_FALSE(HasPayload(headers.metadata)) << offset;
  }
}

TEST(EmbeddedJpeg, WorksWhereTheSizeOfTheFileIsUnknown) {
  MemorySource source("in front" + JpegWithExif(MakerOnly("Maker")));
  source.ForgetSize();
  EXPECT_EQ(ReadEmbeddedJpeg(source, 8).size, (PictureSize{32, 16}));
}

}  // namespace
}  // namespace media_server::image
