#include "record_facts.h"

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

}  // namespace
}  // namespace mediaprobe
