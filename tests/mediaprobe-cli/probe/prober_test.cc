#include "probe/prober.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <mutex>

#include "core/error_text.h"
#include "fake_services.h"
#include "media_server/refusals.h"
#include "mediainfo/service_ids.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

namespace refusals = media_server::refusals;
using service::mediainfo::kImageInfoServiceName;
using service::mediainfo::kMediaFileInfoServiceName;
using service::mediainfo::kMediaUuidServiceName;
using service::mediainfo::kSvgInfoServiceName;
using ::testing::ElementsAre;
using testing::FakeImage;
using testing::FakeImageService;
using testing::FakeMediaService;
using testing::FakeSvg;
using testing::FakeSvgService;
using testing::FakeUuidService;
using ::testing::IsEmpty;
using testing::ScratchFolder;

constexpr char kUuid[] = "d41d8cd98f00b204e9800998ecf8427e";

/// A media service that refuses everything with the words of the test, or nothing, and others that take everything.
class ProberTest : public ::testing::Test {
 protected:
  Record Probe(const std::string& input, ServiceChoice choice = ServiceChoice::kAuto, bool wants_uuid = false) {
    return MakeProber({.service = choice, .key = "", .wants_uuid = wants_uuid}).Probe(input, /*report=*/{});
  }
  Prober MakeProber(Prober::Settings settings) {
    return Prober(
        [this](const char* name) -> std::shared_ptr<service::IService> {
          acquired_.emplace_back(name);
          const auto found = services_.find(name);
          return found == services_.end() ? nullptr : found->second;
        },
        std::move(settings));
  }
  template <typename Answer>
  static bool IsBy(const Record& record) {
    return std::holds_alternative<Answer>(record.answer);
  }

  ScratchFolder folder_;
  bool image_is_read_ = true;
  const char* refusal_ = nullptr;  ///< of the media service; null: it opens everything
  std::vector<std::string> uuid_urls_;
  std::vector<std::string> acquired_;
  std::shared_ptr<FakeMediaService> media_ =
      std::make_shared<FakeMediaService>([this](const std::string&, const std::string&) {
        CoreSetErrorText(refusal_);
        return refusal_ ? nullptr : testing::MakeFullFile();
      });
  std::shared_ptr<FakeImageService> image_ = std::make_shared<FakeImageService>([this](const std::string&) {
    CoreSetErrorText(nullptr);
    FakeImage image = testing::MakeFullImage();
    image.is_read = image_is_read_;
    return image;
  });
  std::map<std::string, std::shared_ptr<service::IService>> services_ = {
      {kMediaFileInfoServiceName, media_},
      {kImageInfoServiceName, image_},
      {kSvgInfoServiceName, std::make_shared<FakeSvgService>([](char*) {
         return FakeSvg{2, 1, 2, 1};
       })},
      {kMediaUuidServiceName, std::make_shared<FakeUuidService>([this](const std::string& url) {
         uuid_urls_.push_back(url);
         return kUuid;
       })},
  };
};

TEST_F(ProberTest, MediaNeedsNoOtherService) {
  const Record record = Probe(folder_.AddFile("a.mp4"));
  EXPECT_TRUE(IsBy<MediaRecord>(record));
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.input, folder_.path() + "/a.mp4");
  EXPECT_EQ(record.uuid, std::nullopt);
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName));
}

TEST_F(ProberTest, WhatTheMediaServiceTakesForAnImageGoesToTheImageService) {
  refusal_ = refusals::kStillImage;
  const Record record = Probe(folder_.AddFile("a.mp4"));
  EXPECT_TRUE(IsBy<ImageRecord>(record));
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.input, folder_.path() + "/a.mp4");
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName, kImageInfoServiceName));
}

TEST_F(ProberTest, WhatTheMediaServiceTakesForAnSvgGoesToTheSvgService) {
  refusal_ = refusals::kSvg;
  const Record record = Probe(folder_.AddFile("a.txt"));
  EXPECT_TRUE(IsBy<SvgRecord>(record));
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName, kSvgInfoServiceName));
}

TEST_F(ProberTest, WhatIsNamedLikeAPictureGoesToTheImageServiceFirst) {
  EXPECT_TRUE(IsBy<ImageRecord>(Probe(folder_.AddFile("a.jpg"))));
  EXPECT_THAT(acquired_, ElementsAre(kImageInfoServiceName));
}

TEST_F(ProberTest, NamesDecideNothing) {
  const std::string path = folder_.AddFile("a.jpg");
  image_is_read_ = false;
  const Record media = Probe(path);
  EXPECT_TRUE(IsBy<MediaRecord>(media));
  EXPECT_EQ(media.error, std::nullopt);
  refusal_ = "not a media file";
  EXPECT_TRUE(IsBy<MediaRecord>(Probe(path)));
  EXPECT_EQ(Probe(path).error, "not a media file");
  refusal_ = refusals::kSvg;
  EXPECT_TRUE(IsBy<SvgRecord>(Probe(path)));
  refusal_ = refusals::kStillImage;
  EXPECT_TRUE(IsBy<ImageRecord>(Probe(path)));
  EXPECT_EQ(Probe(path).error, "not an image");
}

TEST_F(ProberTest, OtherRefusalsAreTheAnswer) {
  refusal_ = "file ends early";
  const Record record = Probe(folder_.AddFile("a.mp4"));
  EXPECT_TRUE(IsBy<MediaRecord>(record));
  EXPECT_EQ(record.error, "file ends early");
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName));
}

TEST_F(ProberTest, SequencesGoToTheImageServiceAtOnce) {
  EXPECT_TRUE(IsBy<ImageRecord>(Probe("/v/img_[1-3].png")));
  EXPECT_TRUE(IsBy<ImageRecord>(Probe("files:///v/img.png")));
  EXPECT_THAT(acquired_, ElementsAre(kImageInfoServiceName, kImageInfoServiceName));
}

TEST_F(ProberTest, FileNamedLikeASequenceIsAFile) {
  EXPECT_TRUE(IsBy<MediaRecord>(Probe(folder_.AddFile("take[1].mp4"))));
}

TEST_F(ProberTest, ForcedServiceAnswersItself) {
  const std::string path = folder_.AddFile("a");
  refusal_ = refusals::kStillImage;
  EXPECT_EQ(Probe(path, ServiceChoice::kMedia).error, "a still image, not a media file");
  EXPECT_TRUE(IsBy<ImageRecord>(Probe(path, ServiceChoice::kImage)));
  EXPECT_TRUE(IsBy<SvgRecord>(Probe(path, ServiceChoice::kSvg)));
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName, kImageInfoServiceName, kSvgInfoServiceName));
}

TEST_F(ProberTest, OnlyTheImageServiceKnowsSequences) {
  refusal_ = "not opened";
  EXPECT_EQ(Probe("/v/img_[1-3].png", ServiceChoice::kMedia).error, "no such file");
  Probe("/v/img_[1-3].png", ServiceChoice::kImage);
  EXPECT_THAT(image_->urls, ElementsAre("files:///v/img_[1-3].png"));
}

TEST_F(ProberTest, ServicesAreAcquiredOnce) {
  const std::string path = folder_.AddFile("a");
  refusal_ = refusals::kStillImage;
  Prober prober = MakeProber({});
  prober.Probe(path, {});
  prober.Probe(path, {});
  EXPECT_THAT(acquired_, ElementsAre(kMediaFileInfoServiceName, kImageInfoServiceName));
}

TEST_F(ProberTest, MissingServicesAreAFailure) {
  const std::string path = folder_.AddFile("a");
  services_.clear();
  EXPECT_EQ(Probe(path).error, "the media file service cannot be started");
  EXPECT_EQ(Probe(path, ServiceChoice::kImage).error, "the image service cannot be started");
  EXPECT_EQ(Probe(path, ServiceChoice::kSvg).error, "the SVG service cannot be started");
  services_[kMediaFileInfoServiceName] = media_;
  const Record record = Probe(path, ServiceChoice::kAuto, /*wants_uuid=*/true);
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.uuid, std::nullopt);
  EXPECT_EQ(record.uuid_error, "the media UUID service cannot be started");
}

TEST_F(ProberTest, KeyReachesTheMediaService) {
  MakeProber({.service = ServiceChoice::kAuto, .key = "0011", .wants_uuid = false}).Probe("/v/a.mp4", {});
  EXPECT_EQ(media_->key, "0011");
}

TEST_F(ProberTest, UuidIsAddedToEveryKindOfAnswer) {
  const std::string path = folder_.AddFile("a");
  EXPECT_EQ(Probe(path, ServiceChoice::kAuto, /*wants_uuid=*/true).uuid, kUuid);
  EXPECT_EQ(Probe(path, ServiceChoice::kImage, /*wants_uuid=*/true).uuid, kUuid);
  EXPECT_EQ(Probe(path, ServiceChoice::kSvg, /*wants_uuid=*/true).uuid, kUuid);
  EXPECT_EQ(Probe("/v/f_[1-2].png", ServiceChoice::kAuto, /*wants_uuid=*/true).uuid, kUuid);
  EXPECT_THAT(uuid_urls_, ElementsAre(path, path, path, "files:///v/f_[1-2].png"));
}

TEST_F(ProberTest, FailuresHaveNoUuid) {
  refusal_ = "file ends early";
  EXPECT_EQ(Probe(folder_.AddFile("a"), ServiceChoice::kAuto, /*wants_uuid=*/true).uuid, std::nullopt);
  EXPECT_THAT(uuid_urls_, IsEmpty());
}

TEST_F(ProberTest, UuidThatCannotBeHadIsToldBesideTheAnswer) {
  const Record record = Probe("https://h/a.mp4", ServiceChoice::kAuto, /*wants_uuid=*/true);
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(record.uuid, std::nullopt);
  EXPECT_EQ(record.uuid_error, "only files have one");
}

TEST_F(ProberTest, OtherLetterCaseOfTheMediaServiceHoldsForTheServicesAfterIt) {
  folder_.AddFile("a.png");
  services_[kSvgInfoServiceName] = std::make_shared<FakeSvgService>([](char* url) {
    std::memcpy(url + std::strlen(url) - 3, "png", 3);
    return FakeSvg{1, 1, 1, 1};
  });
  Probe(folder_.path() + "/a.PNG", ServiceChoice::kSvg, /*wants_uuid=*/true);
  EXPECT_THAT(uuid_urls_, ElementsAre(folder_.path() + "/a.png"));
}

TEST_F(ProberTest, DigestIsReportedWithTheSizeOfTheFile) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> reports;
  std::mutex mutex;
  const ReportDigest report = [&](std::uint64_t done, std::uint64_t total) {
    const std::lock_guard lock(mutex);
    reports.emplace_back(done, total);
  };
  MakeProber({}).Probe(folder_.AddFile("a", "1234567"), report);
  EXPECT_THAT(reports, IsEmpty());
  Prober prober = MakeProber({.service = ServiceChoice::kAuto, .key = "", .wants_uuid = true});
  prober.Probe(folder_.AddFile("a", "1234567"), report);
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(reports.front(), std::pair(std::uint64_t{0}, std::uint64_t{7}));
  reports.clear();
  prober.Probe("/v/f_[1-2].png", report);
  ASSERT_FALSE(reports.empty());
  EXPECT_EQ(reports.front(), std::pair(std::uint64_t{0}, std::uint64_t{0}));
}

}  // namespace
}  // namespace mediaprobe
