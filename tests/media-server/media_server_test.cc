#include "media-server/media_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "core/error_text.h"
#include "platform/text.h"
#include "tests/media-server/http_server.h"
#include "tests/media-server/sample_file.h"
#include "tests/media-server/zone.h"

namespace media_server {
namespace {

using platform::ComPtr;

class MediaServerTest : public testing::Test {
 protected:
  ComPtr<IMediaInfo> Open(const std::string& path) {
    ComPtr<IMediaInfo> info;
    const std::int32_t result = server_->GetMediaInfo(platform::ToUtf16(path).c_str(), info.Put());
    EXPECT_EQ(result != 0, static_cast<bool>(info));
    return info;
  }

  std::int64_t Query(const std::string& name, imagecore::QkImageInfo& info) {
    return server_->QueryImage(platform::ToUtf16(SamplePath(name)).c_str(), &info);
  }

  ComPtr<IMediaServer> server_ = MakeMediaServer({});
};

TEST_F(MediaServerTest, OpensAFile) {
  const auto info = Open(SamplePath("upright.mp4"));
  ASSERT_TRUE(info);
  EXPECT_EQ(info->GetFileSize(), 49'142u);
  EXPECT_STREQ(CoreErrorText(), "");
}

TEST_F(MediaServerTest, TellsWhyAFileDoesNotOpen) {
  EXPECT_FALSE(Open(SamplePath("missing.mp4")));
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_FALSE(Open(SamplePath("README.md")));
  EXPECT_STREQ(CoreErrorText(), "not a media file");
  EXPECT_TRUE(Open(SamplePath("song.mp3")));
  EXPECT_STREQ(CoreErrorText(), "") << "a success clears the reason";
}

TEST_F(MediaServerTest, TakesNoPathAndNoOutputForFailures) {
  IMediaInfo* info = nullptr;
  EXPECT_EQ(server_->GetMediaInfo(nullptr, &info), 0);
  EXPECT_EQ(server_->GetMediaInfo(u"/", nullptr), 0);
}

TEST_F(MediaServerTest, KnowsOneOption) {
  const auto key = core::ValAny::FromBuffer("00112233445566778899aabbccddeeff");
  const auto number = core::ValAny::FromInt32(1);
  EXPECT_EQ(server_->SetOption("EncryptKey", &key), platform::kOk);
  EXPECT_EQ(server_->SetOption("EncryptKey", &number), platform::kInvalidArgument);
  EXPECT_EQ(server_->SetOption("Other", &key), platform::kInvalidArgument);
  EXPECT_EQ(server_->SetOption(nullptr, &key), platform::kInvalidPointer);
  EXPECT_EQ(server_->SetOption("EncryptKey", nullptr), platform::kInvalidPointer);
}

TEST_F(MediaServerTest, IgnoresTheKeyForFilesThatAreNotProtected) {
  const auto key = core::ValAny::FromBuffer("not a key");
  server_->SetOption("EncryptKey", &key);
  EXPECT_TRUE(Open(SamplePath("upright.mp4")));
}

TEST_F(MediaServerTest, OpensAUrlLikeAFile) {
  const std::vector<std::uint8_t> bytes = ReadSample("upright.mp4");
  const HttpServer server(std::string(bytes.begin(), bytes.end()));
  const auto info = Open(server.Url("/file"));
  ASSERT_TRUE(info) << CoreErrorText();
  EXPECT_EQ(info->GetFileSize(), 49'142u);
  EXPECT_DOUBLE_EQ(info->GetDuration(), 2.002);
}

TEST_F(MediaServerTest, ServesSeveralThreadsAtOnce) {
  const std::vector<std::string> names = {"upright.mp4", "hdr.mov", "languages.mkv", "programs.ts", "song.flac"};
  std::vector<double> alone;
  for (const std::string& name : names) alone.push_back(Open(SamplePath(name))->GetDuration());

  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t round = 0; round < 10; ++round) {
        const std::size_t i = (t + round) % names.size();
        ComPtr<IMediaInfo> info;
        server_->GetMediaInfo(platform::ToUtf16(SamplePath(names[i])).c_str(), info.Put());
        if (!info || info->GetDuration() != alone[i]) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(MediaServerTest, QueriesAPicture) {
  const Zone zone("UTC0");
  imagecore::QkImageInfo info;
  EXPECT_NE(Query("pictures/upright.jpg", info), 0);
  EXPECT_STREQ(CoreErrorText(), "");
  EXPECT_EQ(info.picture_type, imagecore::kPictureJpeg);
  EXPECT_EQ(info.width, 240);
  EXPECT_EQ(info.height, 160);
  EXPECT_EQ(info.flip, imagecore::kFlipNone);
  EXPECT_EQ(info.rotation, 90);
  EXPECT_STREQ(info.camera_maker, "Example Optics");
  EXPECT_STREQ(info.camera_model, "EX-1");
  EXPECT_STREQ(info.date, "2024:7:14:18:15:30,2024:7:15:6:0:0");
  EXPECT_NEAR(info.gps_latitude, 33.8568, 1e-6);
  EXPECT_STREQ(info.gps_latitude_ref, "S");
  EXPECT_NEAR(info.gps_longitude, 151.2153, 1e-6);
  EXPECT_STREQ(info.gps_longitude_ref, "E");
  EXPECT_DOUBLE_EQ(info.exposure_time_s, 0.008);
}

TEST_F(MediaServerTest, QueriesPicturesThatMove) {
  imagecore::QkImageInfo gif;
  EXPECT_NE(Query("pictures/blinking.gif", gif), 0);
  EXPECT_TRUE(gif.flags & imagecore::kHasGifDuration);
  EXPECT_DOUBLE_EQ(gif.gif_duration_s, 1);
  EXPECT_EQ(gif.gif_frame_rate_num, 10 * gif.gif_frame_rate_den);
  imagecore::QkImageInfo webp;
  EXPECT_NE(Query("pictures/blinking.webp", webp), 0);
  EXPECT_TRUE(webp.flags & imagecore::kHasWebPDuration);
  EXPECT_DOUBLE_EQ(webp.webp_duration_s, 1);
}

TEST_F(MediaServerTest, GivesTheLabelOfAPicture) {
  imagecore::QkImageInfo info;
  EXPECT_NE(Query("pictures/generated.png", info), 0);
  EXPECT_STREQ(info.aigc_data, R"({"Label":"1","ContentProducer":"Example Studio","ProduceID":"p-1"})");
  EXPECT_EQ(info.aigc_size, 66);
  EXPECT_EQ(info.alpha_mode, imagecore::kAlphaStraight);
}

TEST_F(MediaServerTest, TellsWhyAPictureIsNotAnswered) {
  imagecore::QkImageInfo info;
  EXPECT_EQ(Query("pictures/missing.jpg", info), 0);
  EXPECT_STREQ(CoreErrorText(), "no such file");
  EXPECT_EQ(Query("song.mp3", info), 0);
  EXPECT_STREQ(CoreErrorText(), "not an image");
  EXPECT_EQ(info.flags, 0u);
}

TEST_F(MediaServerTest, LeavesNothingOfThePictureBeforeInARecord) {
  imagecore::QkImageInfo info;
  for (const char* next : {"pictures/missing.jpg", "song.mp3"}) {
    EXPECT_NE(Query("pictures/upright.jpg", info), 0);
    EXPECT_EQ(Query(next, info), 0);
    EXPECT_EQ(info.flags, 0u) << next;
  }
}

TEST_F(MediaServerTest, TakesNoPathAndNoRecordForFailures) {
  imagecore::QkImageInfo info;
  EXPECT_EQ(server_->QueryImage(nullptr, &info), 0);
  EXPECT_EQ(server_->QueryImage(platform::ToUtf16(SamplePath("pictures/upright.jpg")).c_str(), nullptr), 0);
}

TEST_F(MediaServerTest, QueriesOnSeveralThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        imagecore::QkImageInfo info;
        if (Query("pictures/still.avif", info) == 0 || std::string(info.camera_model) != "EX-1") ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(CreateMediaServerTest, TellsWhenThereCanBeNoLogFile) {
  platform::ComPtr<IMediaServer> server;
  testing::internal::CaptureStderr();
  EXPECT_EQ(CreateMediaServer("", "", "", "", "/dev/null/folder", server.Put()), platform::kOk);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("cannot keep a log file in /dev/null/folder"));
}

TEST(CreateMediaServerTest, GivesAServerAndTakesNullTexts) {
  ComPtr<IMediaServer> server;
  EXPECT_EQ(CreateMediaServer(nullptr, nullptr, nullptr, nullptr, nullptr, server.Put()), platform::kOk);
  EXPECT_TRUE(server);
  EXPECT_EQ(CreateMediaServer("", "", "", "", "", nullptr), platform::kInvalidPointer);
}

}  // namespace
}  // namespace media_server
