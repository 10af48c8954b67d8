#include "output/aigc_label.h"

#include <gtest/gtest.h>

#include <string>

namespace mediaprobe {
namespace {

TEST(AigcLabel, ObjectIsReadAsItStands) {
  const auto label = ParseAigcLabel(R"({"AIGC":{"Label":"1","ProduceID":"x\"{[y"}})");
  ASSERT_TRUE(label);
  EXPECT_EQ(label->dump(), R"({"AIGC":{"Label":"1","ProduceID":"x\"{[y"}})");
}

TEST(AigcLabel, TextsThatAreNoObjectAreNotRead) {
  for (const char* text : {"", "1", "[1]", "\"x\"", "by a machine", "{\"Label\":", "{\"Label\":1}}", "{\"a\":1e999}"}) {
    EXPECT_FALSE(ParseAigcLabel(text)) << text;
  }
}

TEST(AigcLabel, InvalidUtf8IsNotRead) { EXPECT_FALSE(ParseAigcLabel("{\"Label\":\"\xff\"}")); }

TEST(AigcLabel, NestingIsBounded) {
  const auto nested = [](std::size_t depth) {
    return "{\"a\":" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + "}";
  };
  EXPECT_TRUE(ParseAigcLabel(nested(32)));
  EXPECT_FALSE(ParseAigcLabel(nested(33)));
  EXPECT_FALSE(ParseAigcLabel(nested(30'000)));
}

TEST(AigcLabel, BracketsInTextsDoNotNest) {
  EXPECT_TRUE(ParseAigcLabel("{\"a\":\"\\\"" + std::string(100, '[') + "\"}"));
}

TEST(AigcLabel, LengthIsBounded) {
  const auto of_length = [](std::size_t length) { return "{\"a\":\"" + std::string(length - 8, 'x') + "\"}"; };
  EXPECT_TRUE(ParseAigcLabel(of_length(65'536)));
  EXPECT_FALSE(ParseAigcLabel(of_length(65'537)));
}

}  // namespace
}  // namespace mediaprobe
