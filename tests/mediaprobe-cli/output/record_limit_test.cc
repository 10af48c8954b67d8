#include "output/record_limit.h"

#include <gtest/gtest.h>

#include <string>

#include "output/csv_formatter.h"
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

/// `programs` programs that have the same `streams` streams, and a title and an actor of a length.
Record Media(std::size_t programs, std::size_t streams, std::size_t length = 0) {
  Record record;
  record.input = "a.mp4";
  MediaRecord media;
  for (std::size_t number = 0; number < programs; ++number) {
    media.programs.emplace_back().audio.resize(streams);
  }
  media.metadata = {{"MediaFile_Metedata_Title", std::string(length, 't')},
                    {"MediaFile_Metedata_Actor", std::string(length, 'a')}};
  record.answer = media;
  return record;
}

std::size_t LengthOf(const Record& record, std::size_t entry) {
  return std::get<std::string>(std::get<MediaRecord>(record.answer).metadata.at(entry).value).size();
}

TEST(BoundedRecord, LeavesWhatFits) {
  Record record = Media(3, 50, 20'000);
  BoundRecord(record);
  EXPECT_FALSE(record.truncated);
  EXPECT_EQ(LengthOf(record, 0), 20'000U);
  EXPECT_EQ(std::get<MediaRecord>(record.answer).programs.size(), 3U);
}

TEST(BoundedRecord, CutsTextsThatTheTableHasOnEachRow) {
  Record record = Media(1, 60, 300'000);
  BoundRecord(record);
  EXPECT_TRUE(record.truncated);
  EXPECT_LE(LengthOf(record, 0), kMostRecordBytes / 60);
  EXPECT_GE(LengthOf(record, 0), kMostRecordBytes / 60 / 2) << "no more than needed, by halves";
  EXPECT_EQ(LengthOf(record, 1), 300'000U) << "which is on no row";
  EXPECT_LE(CsvFormatter(/*is_for_terminal=*/false).Format(record).size(), kMostRecordBytes + 60 * 200);
}

TEST(BoundedRecord, CutsTheLongTextsOfOneStreamAsOfNone) {
  for (const std::size_t streams : {0, 1}) {
    Record record = Media(1, streams, 3'000'000);
    BoundRecord(record);
    EXPECT_TRUE(record.truncated);
    EXPECT_LE(SizeOf(record), kMostRecordBytes);
  }
}

TEST(BoundedRecord, IsAnErrorWhereTextsAreNotWhatMakesItLong) {
  Record record = Media(1000, 128, 100);
  record.uuid = "0123456789abcdef0123456789abcdef";
  BoundRecord(record);
  EXPECT_EQ(record.input, "a.mp4");
  EXPECT_EQ(record.error, "the description is too long");
  EXPECT_FALSE(record.uuid);
  EXPECT_LE(SizeOf(record), 1000U);
}

}  // namespace
}  // namespace mediaprobe
