#include "output/record_limit.h"

#include <gtest/gtest.h>

#include <string>

#include "output/json_text.h"
#include "output/record_json.h"

namespace mediaprobe {
namespace {

Record WithTitle(const std::string& title) {
  Record record;
  record.input = "a.mp4";
  MediaRecord media;
  media.metadata = {{"MediaFile_Metedata_Title", title}, {"MediaFile_Metedata_Artist", std::string("short")}};
  record.answer = media;
  return record;
}

std::string TitleOf(const Record& record) {
  return std::get<std::string>(std::get<MediaRecord>(record.answer).metadata[0].value);
}

std::size_t SizeOf(const Record& record) { return CompactJson(ToJson(record)).size(); }

TEST(RecordLimit, LeavesARecordThatFits) {
  Record record = WithTitle(std::string(3'000'000, 't'));
  LimitRecord(record);
  EXPECT_FALSE(record.truncated);
  EXPECT_EQ(TitleOf(record).size(), 3'000'000u);
}

TEST(RecordLimit, CutsTheLongTextsOfOneThatDoesNot) {
  Record record = WithTitle(std::string(5'000'000, 't'));
  record.aigc = std::string(1'000'000, 'a');
  LimitRecord(record);
  EXPECT_TRUE(record.truncated);
  EXPECT_LE(SizeOf(record), kMostRecordBytes);
  EXPECT_GE(TitleOf(record).size(), 2'000'000u) << "no more than needed, by halves";
  EXPECT_EQ(record.aigc->size(), 1'000'000u);
  EXPECT_EQ(std::get<std::string>(std::get<MediaRecord>(record.answer).metadata[1].value), "short");
  EXPECT_EQ(ToJson(record)["truncated"], true);
}

TEST(RecordLimit, CountsTextsAsJsonWritesThem) {
  Record record = WithTitle(std::string(1'000'000, '\x01'));  // \u0001: six bytes each
  LimitRecord(record);
  EXPECT_TRUE(record.truncated);
  EXPECT_LE(SizeOf(record), kMostRecordBytes);
}

TEST(RecordLimit, CutsBetweenCharacters) {
  std::string title;
  for (int i = 0; i < 1000; ++i) title += "\xE6\x97\xA5";
  Record record = WithTitle(title);
  LimitRecord(record, 2000);
  EXPECT_TRUE(record.truncated);
  EXPECT_EQ(TitleOf(record).size() % 3, 0u);
}

}  // namespace
}  // namespace mediaprobe
