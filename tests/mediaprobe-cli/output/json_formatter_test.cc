#include "output/json_formatter.h"

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
  const JsonFormatter formatter;
  const OutputFrame frame = formatter.Frame();
  const std::string text = frame.begin + formatter.Format(FailedRecord("a")) + frame.between +
                           formatter.Format(FailedRecord("b")) + frame.end;
  EXPECT_TRUE(text.starts_with("[\n  {\n    \"input\": \"a\",\n"));
  EXPECT_TRUE(text.ends_with("\n  }\n]\n"));
  const auto parsed = nlohmann::json::parse(text);
  ASSERT_EQ(parsed.size(), 2u);
  EXPECT_EQ(parsed[1]["input"], "b");
}

TEST(JsonFormatter, NoRecordsMakeAnEmptyArray) {
  const OutputFrame frame = JsonFormatter().Frame();
  EXPECT_EQ(frame.begin + frame.end, "[\n]\n");
}

TEST(NdjsonFormatter, EachRecordIsALine) {
  const NdjsonFormatter formatter;
  const std::string line = formatter.Format(FailedRecord("a\nb"));
  EXPECT_EQ(line.find('\n'), line.size() - 1);
  EXPECT_EQ(nlohmann::json::parse(line)["input"], "a\nb");
  EXPECT_EQ(formatter.Frame().begin + formatter.Frame().between + formatter.Frame().end, "");
}

}  // namespace
}  // namespace mediaprobe
