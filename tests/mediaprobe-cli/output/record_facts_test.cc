#include "output/record_facts.h"

#include <gtest/gtest.h>

#include "mediainfo/metedata_keys.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

/// The value under `label`, empty when there is none.
std::string FactOf(const Record& record, std::string_view label) {
  for (const Fact& fact : FactsOf(record)) {
    if (fact.label == label) return fact.value;
  }
  return {};
}

std::string FactOf(const ImageRecord& image, std::string_view label) {
  Record record;
  record.answer = image;
  return FactOf(record, label);
}

TEST(RecordFacts, OrientationIsWhatShowsThePictureUpright) {
  ImageRecord image;
  EXPECT_EQ(FactOf(image, "orientation"), "");
  image.rotation_degrees = 0;
  image.flip = "none";
  EXPECT_EQ(FactOf(image, "orientation"), "");
  image.rotation_degrees = 270;
  EXPECT_EQ(FactOf(image, "orientation"), "rotated 270");
  image.flip = "horizontal";
  EXPECT_EQ(FactOf(image, "orientation"), "flipped horizontal, rotated 270");
  image.rotation_degrees = 0;
  EXPECT_EQ(FactOf(image, "orientation"), "flipped horizontal");
}

TEST(RecordFacts, CameraOfAnImageHasItsExposure) {
  ImageRecord image;
  image.metadata = {{keys::kImageCameraMaker, std::string("Acme")},
                    {keys::kImageCameraModel, std::string("Cam 9")},
                    {keys::kImageExposureTime, 0.5}};
  EXPECT_EQ(FactOf(image, "camera"), "Acme Cam 9, 0.5 s");
  image.metadata.pop_back();
  EXPECT_EQ(FactOf(image, "camera"), "Acme Cam 9");
  image.metadata = {{keys::kImageExposureTime, 0.01}};
  EXPECT_EQ(FactOf(image, "camera"), "1/100 s");
}

TEST(RecordFacts, MakerIsNotRepeatedUnderAnotherForm) {
  ImageRecord image;
  image.metadata = {{keys::kImageCameraMaker, std::string("NIKON CORPORATION")},
                    {keys::kImageCameraModel, std::string("NIKON D300")}};
  EXPECT_EQ(FactOf(image, "camera"), "NIKON D300");
  image.metadata[0].value = std::string("Leica Camera AG");
  image.metadata[1].value = std::string("LEICA M10");
  EXPECT_EQ(FactOf(image, "camera"), "LEICA M10");
  image.metadata[1].value = std::string("M10");
  EXPECT_EQ(FactOf(image, "camera"), "Leica Camera AG M10");
}

TEST(RecordFacts, CutTextsAreTold) {
  Record record;
  EXPECT_EQ(FactOf(record, "note"), "");
  record.truncated = true;
  EXPECT_EQ(FactOf(record, "note"), "long texts were cut");
}

TEST(RecordFacts, UuidComesLast) {
  Record record;
  record.aigc = "by a machine";
  record.uuid = "0123456789abcdef0123456789abcdef";
  const std::vector<Fact> facts = FactsOf(record);
  ASSERT_EQ(facts.size(), 2u);
  EXPECT_EQ(facts[1].label, "UUID");
  EXPECT_EQ(facts[1].value, "0123456789abcdef0123456789abcdef");
}

TEST(RecordFacts, SvgsHaveNone) {
  Record record;
  record.answer.emplace<SvgRecord>();
  EXPECT_TRUE(FactsOf(record).empty());
}

TEST(MetadataOf, FilesAndPictureStreamsHaveAGroupEach) {
  Record record;
  auto& media = std::get<MediaRecord>(record.answer);
  EXPECT_TRUE(MetadataOf(record).empty());
  media.metadata = {{keys::kTitle, std::string("a\nb")}, {keys::kGpsLatitude, 33.8568}};
  ProgramRecord& program = media.programs.emplace_back();
  program.video.emplace_back().index = 1;
  program.video.emplace_back().index = 2;
  program.video[1].metadata = {{keys::kVideoMaxFramerate, core::Rational{24'000, 1'000}},
                               {keys::kVideoIsDolbyVision, std::int64_t{0}}};
  const std::vector<FactGroup> groups = MetadataOf(record);
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(groups[0].heading, "metadata");
  ASSERT_EQ(groups[0].facts.size(), 2u);
  EXPECT_EQ(groups[0].facts[0].label, "MediaFile_Metedata_Title");
  EXPECT_EQ(groups[0].facts[0].value, "a\\nb");
  EXPECT_EQ(groups[0].facts[1].value, "33.8568");
  EXPECT_EQ(groups[1].heading, "video 2");
  ASSERT_EQ(groups[1].facts.size(), 2u);
  EXPECT_EQ(groups[1].facts[0].value, "24000/1000");
  EXPECT_EQ(groups[1].facts[1].value, "0");
}

TEST(MetadataOf, ImagesHaveOneGroupAndSvgsNone) {
  Record record;
  ImageRecord image;
  image.metadata = {{keys::kImageCameraModel, std::string("Cam 9")}};
  record.answer = image;
  const std::vector<FactGroup> groups = MetadataOf(record);
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].heading, "metadata");
  EXPECT_EQ(groups[0].facts.at(0).label, "Image_Metedata_CameraModel");
  record.answer.emplace<SvgRecord>();
  EXPECT_TRUE(MetadataOf(record).empty());
}

}  // namespace
}  // namespace mediaprobe
