#include "output/json_text.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

using Json = nlohmann::ordered_json;

TEST(JsonText, CompactFormIsOneLine) {
  const Json value = {{"b", {1, -2, true, nullptr}}, {"a", {{"x", "y"}}}, {"e", Json::array()}, {"o", Json::object()}};
  EXPECT_EQ(CompactJson(value), R"({"b":[1,-2,true,null],"a":{"x":"y"},"e":[],"o":{}})");
}

TEST(JsonText, IndentedFormStartsAtItsLevel) {
  const Json value = {{"b", {1, 2}}, {"e", Json::array()}};
  EXPECT_EQ(IndentedJson(value, 0), "{\n  \"b\": [\n    1,\n    2\n  ],\n  \"e\": []\n}");
  EXPECT_EQ(IndentedJson(value, 1), "{\n    \"b\": [\n      1,\n      2\n    ],\n    \"e\": []\n  }");
}

TEST(JsonText, FractionsHaveTheFewestDigits) {
  // The library's own writer gives 271.79523819999997 and so on for these.
  EXPECT_EQ(CompactJson(271.7952382), "271.7952382");
  EXPECT_EQ(CompactJson(6276.6835059), "6276.6835059");
  EXPECT_EQ(CompactJson(0.1), "0.1");
  EXPECT_EQ(CompactJson(-33.8568), "-33.8568");
}

TEST(JsonText, InvalidUtf8IsReplaced) {
  EXPECT_EQ(CompactJson("a\xff\xc3(b"), "\"a\xEF\xBF\xBD\xEF\xBF\xBD(b\"");
  EXPECT_EQ(CompactJson(Json{{"\xff", 1}}), "{\"\xEF\xBF\xBD\":1}");
}

TEST(JsonText, ControlCharactersAreEscaped) { EXPECT_EQ(CompactJson("\x1b\n\"\\"), R"("\u001b\n\"\\")"); }

TEST(JsonText, WhatATerminalWouldActUponIsEscaped) {
  EXPECT_EQ(CompactJson("\x7f\u009b\u202ea\u2028\ufeff"), R"("\u007f\u009b\u202ea\u2028\ufeff")");
  EXPECT_EQ(CompactJson("\u200d\u00e9\U0001F600\\u202e"), "\"\u200d\u00e9\U0001F600\\\\u202e\"");
  EXPECT_EQ(CompactJson(Json{{"\u202e", 1}}), R"({"\u202e":1})");
}

}  // namespace
}  // namespace mediaprobe
