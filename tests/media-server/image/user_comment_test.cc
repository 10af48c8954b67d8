#include "media-server/image/user_comment.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace media_server::image {
namespace {

using std::string_view_literals::operator""sv;

constexpr std::string_view kLabel = R"({"Label":"1","ContentProducer":"c"})";

std::optional<std::string> Read(std::string_view code, std::string_view text) {
  const std::string comment = std::string(code) + std::string(text);
  return LabelOfUserComment({reinterpret_cast<const std::uint8_t*>(comment.data()), comment.size()});
}

/// ASCII text with a NUL before or behind each character.
std::string Widened(std::string_view text, bool big_endian) {
  std::string wide;
  for (const char character : text) wide += big_endian ? std::string{'\0', character} : std::string{character, '\0'};
  return wide;
}

TEST(UserCommentTest, ReadsALabelInEachCharacterCode) {
  EXPECT_EQ(Read("ASCII\0\0\0"sv, kLabel), kLabel);
  EXPECT_EQ(Read("\0\0\0\0\0\0\0\0"sv, kLabel), kLabel);
  EXPECT_EQ(Read("UNICODE\0"sv, Widened(kLabel, /*big_endian=*/false)), kLabel);
  EXPECT_EQ(Read("UNICODE\0"sv, Widened(kLabel, /*big_endian=*/true)), kLabel);
}

TEST(UserCommentTest, ReadsAWrappedLabelAndCutsPadding) {
  EXPECT_EQ(Read("ASCII\0\0\0"sv, "{\"AIGC\": {\"Label\": \"1\"}}  \0\0"sv), R"({"AIGC": {"Label": "1"}})");
}

TEST(UserCommentTest, TakesOtherCommentsForNoLabel) {
  for (const std::string_view text : {""sv, "a \"Label\" { on a wall"sv, R"({"title":"Label"})"sv, R"(["AIGC"])"sv,
                                      R"({"AIGC":)"sv, R"("AIGC")"sv, R"({"x":{"AIGC":1}})"sv}) {
    EXPECT_EQ(Read("ASCII\0\0\0"sv, text), std::nullopt) << text;
  }
  EXPECT_EQ(Read("ASCII"sv, ""), std::nullopt) << "shorter than its character code";
}

}  // namespace
}  // namespace media_server::image
