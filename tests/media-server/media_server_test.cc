#include "media-server/media_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "core/error_text.h"
#include "platform/text.h"
#include "tests/media-server/http_server.h"
#include "tests/media-server/sample_file.h"

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

TEST(CreateMediaServerTest, GivesAServerAndTakesNullTexts) {
  ComPtr<IMediaServer> server;
  EXPECT_EQ(CreateMediaServer(nullptr, nullptr, nullptr, nullptr, nullptr, server.Put()), platform::kOk);
  EXPECT_TRUE(server);
  EXPECT_EQ(CreateMediaServer("", "", "", "", "", nullptr), platform::kInvalidPointer);
}

}  // namespace
}  // namespace media_server
