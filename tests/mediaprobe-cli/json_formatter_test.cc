#include "json_formatter.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace mediaprobe {
namespace {

Record FailedRecord(const std::string& input) {
  Record record;
  record.input = input;
  record.error = "no such file";
  return record;
}

TEST(JsonFormatter, RecordsMakeOneArray) {
  JsonFormatter formatter;
  std::string text = formatter.Format(FailedRecord("a"));
  text += formatter.Format(FailedRecord("b"));
  text += formatter.End();
  EXPECT_TRUE(text.starts_with("[\n  {\n    \"input\": \"a\",\n"));
  EXPECT_TRUE(text.ends_with("\n  }\n]\n"));
  const auto parsed = nlohmann::json::parse(text);
  ASSERT_EQ(parsed.size(), 2u);
  EXPECT_EQ(parsed[1]["input"], "b");
}

TEST(JsonFormatter, NoRecordsMakeAnEmptyArray) { EXPECT_EQ(JsonFormatter().End(), "[]\n"); }

TEST(NdjsonFormatter, EachRecordIsALine) {
  NdjsonFormatter formatter;
  const std::string line = formatter.Format(FailedRecord("a\nb"));
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  EXPECT_EQ(nlohmann::json::parse(line)["input"], "a\nb");
  EXPECT_EQ(formatter.End(), "");
}

}  // namespace
}  // namespace mediaprobe
