#include "media-server/probe/tag_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/container_facts.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

// 2019-01-02 03:04:05 UTC.
constexpr std::int64_t kRecorded = 1'546'398'245;

class TagReaderTest : public testing::Test {
 protected:
  void AddMovieTag(Mp4MetaNamespace name_space, const std::string& key, const std::string& value) {
    if (!container_.movie) container_.movie.emplace();
    Mp4MetaEntry entry;
    entry.name_space = name_space;
    entry.key = key;
    entry.value = value;
    container_.movie->metadata.push_back(entry);
  }
  void AddTag(const char* key, const char* value) { av_dict_set(&context_->metadata, key, value, 0); }
  std::optional<std::int64_t> Created() const { return ReadTags(*context_, container_).created; }

  FormatContextHandle context_{avformat_alloc_context()};
  ContainerFacts container_;
};

TEST_F(TagReaderTest, ZeroIsNoTime) {
  container_.movie.emplace();
  container_.movie->times = {0, 0};
  AddTag("creation_time", "1970-01-01T00:00:00.000000Z");
  EXPECT_EQ(Created(), std::nullopt);
  EXPECT_EQ(ReadTags(*context_, container_).modified, std::nullopt);
  AddTag("creation_time", "1970-01-01T00:00:01.000000Z");
  EXPECT_EQ(Created(), 1);
}

TEST_F(TagReaderTest, TakesTheTimeOfRecordingForWantOfAnother) {
  container_.date = "2019-01-02T03:04:05Z";
  EXPECT_EQ(Created(), kRecorded);
  AddTag("creation_time", "2020-01-01T00:00:00Z");
  EXPECT_EQ(Created(), 1'577'836'800);
}

TEST_F(TagReaderTest, TakesTheDateOfUserData) {
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9day", "2019-01-02T03:04:05+0000");
  EXPECT_EQ(Created(), kRecorded);
  container_.movie.reset();
  AddMovieTag(Mp4MetaNamespace::kUserData, "date", "2019-01-02T05:04:05+0200");
  EXPECT_EQ(Created(), kRecorded);
}

TEST_F(TagReaderTest, TheDayWhenASongCameOutIsNoTimeOfTheFile) {
  AddMovieTag(Mp4MetaNamespace::kItunes, "\u00A9day", "2019-01-02T03:04:05Z");
  EXPECT_EQ(Created(), std::nullopt);
  container_.movie.reset();
  AddMovieTag(Mp4MetaNamespace::kUserData, "\u00A9day", "2019-01-02");
  EXPECT_EQ(Created(), std::nullopt);
}

TEST_F(TagReaderTest, TakesTheDateOfRecordingOfMatroska) {
  AddTag("DATE_RECORDED", "2019-01-02 03:04:05Z");
  EXPECT_EQ(Created(), kRecorded);
}

}  // namespace
}  // namespace media_server::probe
