#include "output/headline.h"

#include <gtest/gtest.h>

#include "mediainfo/metedata_keys.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

std::string HeadlineOf(const ImageRecord& image) {
  Record record;
  record.answer = image;
  return Headline(record);
}

std::string HeadlineOf(const SvgRecord& svg) {
  Record record;
  record.answer = svg;
  return Headline(record);
}

TEST(Headline, ImagesTellFormatAndSize) {
  ImageRecord image;
  EXPECT_EQ(HeadlineOf(image), "image");
  image.metadata = {{keys::kImagePicType, std::int64_t{7}}};
  image.width = 4000;
  EXPECT_EQ(HeadlineOf(image), "HEIF");
  image.height = 3000;
  EXPECT_EQ(HeadlineOf(image), "HEIF, 4000x3000");
}

TEST(Headline, FormatsWithoutATypeAreNamedByTheCodeOfTheirPictures) {
  ImageRecord image;
  image.metadata = {{keys::kImagePicType, std::int64_t{99}}, {keys::kImageFourCC, std::int64_t{0x66696F71}}};
  EXPECT_EQ(HeadlineOf(image), "Quite OK Image");
  image.metadata[1].value = std::int64_t{0x20504D42};  // "BMP "
  EXPECT_EQ(HeadlineOf(image), "Windows icon or cursor");
  image.metadata[1].value = std::int64_t{0x31545844};  // "DXT1"
  EXPECT_EQ(HeadlineOf(image), "DirectDraw Surface");
  image.metadata[1].value = std::int64_t{0x20595859};  // "YXY ", which is none
  EXPECT_EQ(HeadlineOf(image), "image (YXY)");
  image.metadata[1].value = std::int64_t{0};
  EXPECT_EQ(HeadlineOf(image), "image");
}

TEST(Headline, AnimationsTellDurationAndRate) {
  ImageRecord image;
  image.metadata = {{keys::kImagePicType, std::int64_t{3}},
                    {keys::kImageGifFrameRateNum, std::int64_t{25}},
                    {keys::kImageGifFrameRateDen, std::int64_t{2}}};
  image.duration_100ns = 12'000'000;
  EXPECT_EQ(HeadlineOf(image), "GIF, 0:00:01.200, 12.5 fps");
  image.metadata[2].value = std::int64_t{0};
  EXPECT_EQ(HeadlineOf(image), "GIF, 0:00:01.200");
}

TEST(Headline, SequencesTellTheirFrames) {
  ImageRecord image;
  image.frame_count = 100;
  image.duration_100ns = 40'000'000;
  EXPECT_EQ(HeadlineOf(image), "image, 100 frames, 0:00:04.000");
  image.frame_count = 1;
  image.duration_100ns = 400'000;
  image.metadata = {{keys::kImageGifFrameRateNum, std::int64_t{25}}, {keys::kImageGifFrameRateDen, std::int64_t{2}}};
  EXPECT_EQ(HeadlineOf(image), "image, 1 frame, 0:00:00.040");
}

TEST(Headline, SvgsTellTheirSizes) {
  EXPECT_EQ(HeadlineOf(SvgRecord{}), "SVG");
  EXPECT_EQ(HeadlineOf(SvgRecord{24, 12, 24, 12}), "SVG, 24x12");
  EXPECT_EQ(HeadlineOf(SvgRecord{200, 100, 24, 12}), "SVG, 200x100 (view box 24x12)");
}

}  // namespace
}  // namespace mediaprobe
