#include "bounded_record.h"

#include <gtest/gtest.h>

#include <string>

#include "output/csv_formatter.h"
#include "output/json_text.h"
#include "output/record_json.h"
#include "output/record_limit.h"

namespace mediaprobe {
namespace {

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
    EXPECT_LE(CompactJson(ToJson(record)).size(), kMostRecordBytes);
  }
}

TEST(BoundedRecord, IsAnErrorWhereTextsAreNotWhatMakesItLong) {
  Record record = Media(1000, 128, 100);
  record.uuid = "0123456789abcdef0123456789abcdef";
  BoundRecord(record);
  EXPECT_EQ(record.input, "a.mp4");
  EXPECT_EQ(record.error, "the description is too long");
  EXPECT_FALSE(record.uuid);
  EXPECT_LE(CompactJson(ToJson(record)).size(), 1000U);
}

}  // namespace
}  // namespace mediaprobe
