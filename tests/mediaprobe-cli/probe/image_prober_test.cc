#include "probe/image_prober.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/error_text.h"
#include "fake_services.h"
#include "mediainfo/metedata_keys.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using ::testing::ElementsAre;
using testing::FakeImage;
using testing::FakeImageService;
using ::testing::IsEmpty;
using testing::ScratchFolder;

const ImageRecord& Image(const Record& record) { return std::get<ImageRecord>(record.answer); }

Record ProbeImage(const FakeImage& image) {
  FakeImageService service([&image](const std::string&) { return image; });
  Record record = ImageProber(service).Probe(ToInputPath("/v/a.jpg"));
  EXPECT_EQ(service.open_sessions, 0);
  return record;
}

FakeImage SequenceOf(std::int32_t frame_count) {
  FakeImage image;
  image.width = 640;
  image.height = 480;
  image.store->SetNumber(keys::kImagePicSequenceTotalFrames, frame_count);
  image.store->SetDegrees(keys::kImagePicSequenceDuration, frame_count / 25.0);
  if (frame_count > 0) image.duration_100ns = static_cast<std::uint64_t>(frame_count) * 400'000;
  return image;
}

TEST(ImageProber, AnswersAreTaken) {
  const Record record = ProbeImage(testing::MakeFullImage());
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.created_s, 1'684'318'830);
  EXPECT_EQ(record.modified_s, 1'704'164'645);
  ASSERT_TRUE(record.location);
  EXPECT_EQ(record.location->latitude, -33.8568);
  EXPECT_EQ(record.location->longitude, 151.2153);
  EXPECT_EQ(record.aigc, R"({"Label":"1","ContentProducer":"Studio"})");
  EXPECT_EQ(Image(record).width, 4000u);
  EXPECT_EQ(Image(record).height, 3000u);
  EXPECT_EQ(Image(record).duration_100ns, std::nullopt);
  EXPECT_EQ(Image(record).frame_count, std::nullopt);
  EXPECT_EQ(Image(record).rotation_degrees, 90u);
  EXPECT_EQ(Image(record).flip, "horizontal");
  EXPECT_EQ(Image(record).metadata.size(), 20u);
}

TEST(ImageProber, WhatIsNotToldStaysEmpty) {
  const Record record = ProbeImage(FakeImage{});
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.created_s, std::nullopt);
  EXPECT_FALSE(record.location);
  EXPECT_EQ(record.aigc, std::nullopt);
  EXPECT_EQ(Image(record).width, std::nullopt);
  EXPECT_EQ(Image(record).rotation_degrees, std::nullopt);
  EXPECT_EQ(Image(record).flip, std::nullopt);
  EXPECT_THAT(Image(record).metadata, IsEmpty());
}

TEST(ImageProber, UprightIsToldWhereTheFileTellsIt) {
  FakeImage image;
  image.store->SetNumber(keys::kImageRotate, 0);
  image.store->SetNumber(keys::kImageFlip, 0);
  EXPECT_EQ(Image(ProbeImage(image)).rotation_degrees, 0u);
  EXPECT_EQ(Image(ProbeImage(image)).flip, "none");
}

TEST(ImageProber, TurnsThatAreNoneAreLeftOut) {
  for (const int degrees : {45, 360, -90}) {
    FakeImage image;
    image.store->SetNumber(keys::kImageRotate, degrees);
    EXPECT_EQ(Image(ProbeImage(image)).rotation_degrees, std::nullopt) << degrees;
  }
}

TEST(ImageProber, AnimationsHaveADuration) {
  FakeImage image;
  image.duration_100ns = 12'000'000;
  EXPECT_EQ(Image(ProbeImage(image)).duration_100ns, 12'000'000u);
}

TEST(ImageProber, FileUrlsAreSuchThatTheServiceFindsThePath) {
  FakeImageService service([](const std::string&) { return FakeImage{}; });
  for (const char* input : {"/v/a.png", "/v/c:/a%20[x].png", "file:///v/\xff.png"}) {
    ImageProber(service).Probe(ToInputPath(input));
  }
  EXPECT_THAT(service.urls, ElementsAre("file:///v/a.png", "file:///v/c:/a%20[x].png", "file:///v/\xff.png"));
}

TEST(ImageProber, SequencesTellTheirFramesAndDuration) {
  FakeImageService service([](const std::string&) { return SequenceOf(100); });
  const Record record = ImageProber(service).Probe(ToInputPath("/v/img_[0001-0100].png"));
  EXPECT_THAT(service.urls, ElementsAre("files:///v/img_[0001-0100].png"));
  EXPECT_EQ(Image(record).frame_count, 100u);
  EXPECT_EQ(Image(record).duration_100ns, 40'000'000u);
  EXPECT_EQ(Image(record).width, 640u);
}

TEST(ImageProber, DurationOfASequenceIsItsOwn) {
  FakeImageService service([](const std::string&) {
    FakeImage sequence = SequenceOf(57);
    sequence.duration_100ns = 15'000'000;  // of a first frame that is an animation
    return sequence;
  });
  EXPECT_EQ(Image(ImageProber(service).Probe(ToInputPath("/v/a_[1-57].png"))).duration_100ns, 22'800'000u);
}

TEST(ImageProber, OfSeveralRangesTheFirstFrameIsAskedForByItsName) {
  FakeImageService service([](const std::string& url) {
    if (!url.starts_with("files:")) {
      FakeImage frame = testing::MakeFullImage();
      frame.duration_100ns = 5;
      return frame;
    }
    FakeImage sequence = SequenceOf(4);
    sequence.is_read = false;
    return sequence;
  });
  const Record record = ImageProber(service).Probe(ToInputPath("/v/img_[08-10,12].png"));
  EXPECT_THAT(service.urls, ElementsAre("files:///v/img_[08-10,12].png", "file:///v/img_08.png"));
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(Image(record).frame_count, 4u);
  EXPECT_EQ(Image(record).duration_100ns, 1'600'000u);
  EXPECT_EQ(Image(record).width, 4000u);
  EXPECT_EQ(Image(record).metadata.back().key, "Image_Metedata_PicSequenceTotalFrames");
}

TEST(ImageProber, SequencesWithoutFramesAreRefused) {
  FakeImageService service([](const std::string&) { return SequenceOf(0); });
  EXPECT_EQ(ImageProber(service).Probe(ToInputPath("/v/img_[9-1].png")).error, "a sequence without frames");
}

TEST(ImageProber, CountsPastTheSignedNumbersAreReadAsTheyAreMeant) {
  FakeImageService service([](const std::string&) { return SequenceOf(-5); });
  const Record record = ImageProber(service).Probe(ToInputPath("/v/img_[1-4294967291].png"));
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(Image(record).frame_count, 4'294'967'291U);
}

TEST(ImageProber, FailuresSayWhy) {
  const ScratchFolder folder;
  const std::string path = folder.AddFile("a.png");
  std::string words;
  FakeImageService service([&words](const std::string&) {
    if (!words.empty()) CoreSetErrorText(words.c_str());
    FakeImage image;
    image.is_read = false;
    return image;
  });
  const ImageProber prober(service);
  EXPECT_EQ(prober.Probe(ToInputPath(path)).error, "not an image");
  words = "file ends early";
  EXPECT_EQ(prober.Probe(ToInputPath(path)).error, "file ends early");
  EXPECT_EQ(prober.Probe(ToInputPath(folder.path() + "/none.png")).error, "no such file");
  EXPECT_EQ(prober.Probe(ToInputPath(folder.path() + "/i_[01-10].png")).error,
            "no such file: " + folder.path() + "/i_01.png");
  EXPECT_EQ(prober.Probe(ToInputPath("https://h/a.png")).error, "images are read from files, not from a network");
  EXPECT_TRUE(std::holds_alternative<ImageRecord>(prober.Probe(ToInputPath(path)).answer));
  EXPECT_EQ(service.open_sessions, 0);
}

TEST(ImageProber, AnswersOfTheWrongTypeAreAFailure) {
  const ScratchFolder folder;
  FakeImageService service([](const std::string&) {
    FakeImage image;
    image.store = nullptr;
    return image;
  });
  EXPECT_EQ(ImageProber(service).Probe(ToInputPath(folder.AddFile("a.png"))).error,
            "the image service tells a size that is no number");
}

TEST(ImageProber, ServiceWithoutSessions) {
  FakeImageService service([](const std::string&) { return FakeImage{}; });
  service.gives_sessions = false;
  EXPECT_EQ(ImageProber(service).Probe(ToInputPath("/v/a.png")).error, "the image service gives no session");
  EXPECT_EQ(service.open_sessions, 0);
}

}  // namespace
}  // namespace mediaprobe
