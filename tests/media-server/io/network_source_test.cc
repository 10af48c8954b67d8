#include "media-server/io/network_source.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "tests/media-server/http_server.h"

namespace media_server {
namespace {

std::string Digits(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('0' + i % 10);
  return text;
}

std::string ReadText(IByteSource& source, std::uint64_t offset, std::size_t size) {
  std::string text(size, '\0');
  text.resize(source.ReadAt(offset, {reinterpret_cast<std::uint8_t*>(text.data()), size}));
  return text;
}

TEST(NetworkSourceTest, KnowsNetworkUrls) {
  EXPECT_TRUE(IsNetworkUrl("http://host/a.mp4"));
  EXPECT_TRUE(IsNetworkUrl("https://host/a.mp4"));
  EXPECT_FALSE(IsNetworkUrl("/home/http://host/a.mp4"));
  EXPECT_FALSE(IsNetworkUrl("http_clips/a.mp4"));
  EXPECT_FALSE(IsNetworkUrl(""));
}

TEST(NetworkSourceTest, ReadsByPosition) {
  const HttpServer server(Digits(200'000));
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/file"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), 200'000u);
  EXPECT_EQ(ReadText(*source, 3, 5), "34567");
  EXPECT_EQ(ReadText(*source, 150'001, 4), "1234");
  EXPECT_EQ(ReadText(*source, 0, 3), "012");
  EXPECT_EQ(ReadText(*source, 199'998, 10), "89");
  EXPECT_EQ(ReadText(*source, 300'000, 1), "");
}

TEST(NetworkSourceTest, ComesBackToTheStart) {
  const HttpServer server(Digits(200'000));
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/file"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(ReadText(*source, 150'001, 4), "1234");
  EXPECT_EQ(ReadText(*source, 0, 3), "012");
  EXPECT_EQ(ReadText(*source, 65'536, 3), "678");
  EXPECT_EQ(ReadText(*source, 150'002, 3), "234");
}

constexpr char kHeadOf100Bytes[] =
    "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 0-99/100\r\nContent-Length: 100\r\n\r\n";
constexpr char kServerError[] = "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n";

TEST(NetworkSourceTest, AsksNoMoreAfterAnAnswerWithoutABody) {
  const HttpServer server("", {kHeadOf100Bytes, kServerError});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(ReadText(*source, 0, 3), "");
  EXPECT_STREQ(source->ReadFailure(), "the server breaks off");
  EXPECT_EQ(ReadText(*source, 50, 3), "");
  EXPECT_EQ(ReadText(*source, 0, 3), "");
  EXPECT_STREQ(source->ReadFailure(), "the server breaks off");
  EXPECT_EQ(server.AnswersGiven(), 1u);
}

TEST(NetworkSourceTest, AsksNoMoreWhereAnAnswerBreaksOff) {
  const HttpServer server("", {kHeadOf100Bytes + Digits(10), kServerError});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  ReadText(*source, 0, 50);
  EXPECT_STREQ(source->ReadFailure(), "the server breaks off");
  EXPECT_EQ(server.AnswersGiven(), 1u);
}

TEST(NetworkSourceTest, ReadsABodyThatEndsWithTheConnection) {
  const HttpServer server("", {"HTTP/1.1 200 OK\r\n\r\ncontent"});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), std::nullopt);
  EXPECT_EQ(ReadText(*source, 0, 100), "content");
  EXPECT_EQ(ReadText(*source, 3, 100), "tent");
  EXPECT_STREQ(source->ReadFailure(), nullptr);
}

TEST(NetworkSourceTest, ReadsFromTheStartWhereRangesAreNamedAndNotGiven) {
  const HttpServer server(
      "", {"HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nContent-Length: 200000\r\n\r\n" + Digits(200'000)});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), 200'000u);
  EXPECT_EQ(ReadText(*source, 0, 3), "012");
  // The first request asked for 65'536 bytes.
  EXPECT_EQ(ReadText(*source, 65'530, 10), "0123456789");
  EXPECT_EQ(ReadText(*source, 150'001, 4), "1234");
  EXPECT_EQ(ReadText(*source, 3, 5), "34567");
  EXPECT_EQ(ReadText(*source, 199'998, 10), "89");
  EXPECT_STREQ(source->ReadFailure(), nullptr);
  // The first, the one to the first range, and the whole.
  EXPECT_EQ(server.AnswersGiven(), 3u);
}

TEST(NetworkSourceTest, ReadsAFileWhoseLengthTheServerDoesNotKnow) {
  const HttpServer server(
      "", {"HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 0-6/*\r\nContent-Length: 7\r\n\r\ncontent"});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), std::nullopt);
  EXPECT_EQ(ReadText(*source, 0, 100), "content");
  EXPECT_STREQ(source->ReadFailure(), nullptr);
}

TEST(NetworkSourceTest, KnowsAnEmptyFileByItsLength) {
  const HttpServer server("", {"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"});
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/answers"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), 0u);
}

TEST(NetworkSourceTest, KnowsAnEmptyFileThatNoRangeLiesIn) {
  const HttpServer server("");
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/file"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(source->Size(), 0u);
}

TEST(NetworkSourceTest, FollowsARedirection) {
  const HttpServer server("content");
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/moved"), "", &reason);
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(ReadText(*source, 0, 7), "content");
}

TEST(NetworkSourceTest, NeverLetsAServerOpenALocalFile) {
  const HttpServer server("content");
  std::string reason;
  EXPECT_EQ(OpenNetworkSource(server.Url("/local"), "", &reason), nullptr);
  EXPECT_FALSE(reason.empty());
}

TEST(NetworkSourceTest, SaysWhatTheServerAnswers) {
  const HttpServer server("content");
  std::string reason;
  EXPECT_EQ(OpenNetworkSource(server.Url("/nothing"), "", &reason), nullptr);
  EXPECT_EQ(reason, "no such file on the server");
}

TEST(NetworkSourceTest, SaysThatTheServerIsAskedTooOften) {
  const HttpServer server("", {"HTTP/1.1 429 Too Many Requests\r\nContent-Length: 0\r\n\r\n"});
  std::string reason;
  EXPECT_EQ(OpenNetworkSource(server.Url("/answers"), "", &reason), nullptr);
  EXPECT_EQ(reason, "the server is asked too often");
}

TEST(NetworkSourceTest, SaysThatNobodyAnswers) {
  auto server = std::make_unique<HttpServer>("content");
  const std::string url = server->Url("/file");
  server.reset();
  std::string reason;
  EXPECT_EQ(OpenNetworkSource(url, "", &reason), nullptr);
  EXPECT_EQ(reason, "cannot be reached");
}

TEST(NetworkSourceTest, AsksTheProxyForTheUrl) {
  const HttpServer proxy("content");
  std::string reason;
  // The proxy sees the whole URL, which names none of its paths.
  EXPECT_EQ(OpenNetworkSource("http://media.invalid/file", proxy.Url(""), &reason), nullptr);
  EXPECT_EQ(reason, "no such file on the server");
}

TEST(NetworkSourceTest, AsksNoProxyThatTheHostDidNotName) {
  const HttpServer server("content");
  setenv("http_proxy", "http://127.0.0.1:1", 1);
  std::string reason;
  const auto source = OpenNetworkSource(server.Url("/file"), "", &reason);
  unsetenv("http_proxy");
  ASSERT_NE(source, nullptr) << reason;
  EXPECT_EQ(ReadText(*source, 0, 7), "content");
}

}  // namespace
}  // namespace media_server
