#include "probe/uuid_reader.h"

#include <gtest/gtest.h>

#include "core/error_text.h"
#include "fake_services.h"

namespace mediaprobe {
namespace {

using testing::FakeUuidService;

constexpr char kUuid[] = "d41d8cd98f00b204e9800998ecf8427e";

TEST(UuidReader, TextIsTaken) {
  FakeUuidService service([](const std::string&) { return kUuid; });
  const UuidReader::Answer answer = UuidReader(service).Read(ToInputPath("/v/a.mp4"));
  EXPECT_EQ(answer.uuid, kUuid);
  EXPECT_EQ(answer.error, "");
  EXPECT_EQ(service.open_sessions, 0);
}

TEST(UuidReader, UrlsAreSuchThatTheServiceFindsThePath) {
  std::string asked;
  FakeUuidService service([&asked](const std::string& url) {
    asked = url;
    return kUuid;
  });
  const UuidReader reader(service);
  reader.Read(ToInputPath("/v/a.mp4"));
  EXPECT_EQ(asked, "/v/a.mp4");
  reader.Read(ToInputPath("/c:/a.mp4"));
  EXPECT_EQ(asked, "file://c:/a.mp4");
  reader.Read(ToInputPath("/v/f_[1-9].png"));
  EXPECT_EQ(asked, "files:///v/f_[1-9].png");
}

TEST(UuidReader, FailuresSayWhy) {
  const char* text = nullptr;
  std::string words = "no such file: /v/f_2.png";
  FakeUuidService service([&](const std::string&) {
    if (!words.empty()) CoreSetErrorText(words.c_str());
    return text;
  });
  const UuidReader reader(service);
  EXPECT_EQ(reader.Read(ToInputPath("/v/f_[1-9].png")).error, "no such file: /v/f_2.png");
  words.clear();
  EXPECT_EQ(reader.Read(ToInputPath("/v/a.mp4")).error, "the content cannot be read");
  text = "";
  EXPECT_EQ(reader.Read(ToInputPath("/v/a.mp4")).error, "the content cannot be read");
  EXPECT_EQ(reader.Read(ToInputPath("/v/a.mp4")).uuid, "");
  EXPECT_EQ(service.open_sessions, 0);
}

TEST(UuidReader, NetworkUrlsHaveNone) {
  FakeUuidService service([](const std::string&) { return kUuid; });
  EXPECT_EQ(UuidReader(service).Read(ToInputPath("https://h/a.mp4")).error, "only files have one");
}

TEST(UuidReader, ServiceWithoutSessions) {
  FakeUuidService service([](const std::string&) { return kUuid; });
  service.gives_sessions = false;
  EXPECT_EQ(UuidReader(service).Read(ToInputPath("/v/a")).error, "the media UUID service gives no session");
}

}  // namespace
}  // namespace mediaprobe
