#include "output/csv_formatter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// The rows of RFC 4180 text, each a list of cells.
std::vector<std::vector<std::string>> Parse(std::string_view text) {
  std::vector<std::vector<std::string>> rows;
  std::vector<std::string> row(1);
  bool is_quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (is_quoted && text[i] == '"' && text.substr(i + 1).starts_with('"')) {
      row.back() += text[++i];
    } else if (text[i] == '"') {
      is_quoted = !is_quoted;
    } else if (text[i] == ',' && !is_quoted) {
      row.emplace_back();
    } else if (text[i] == '\n' && !is_quoted) {
      rows.push_back(std::exchange(row, std::vector<std::string>(1)));
    } else {
      row.back() += text[i];
    }
  }
  EXPECT_THAT(row, ElementsAre(""));
  return rows;
}

/// The rows as maps from column to cell, empty cells left out.
std::vector<std::map<std::string, std::string>> Rows(const Record& record) {
  const CsvFormatter formatter(/*is_for_terminal=*/false);
  const auto names = Parse(formatter.Frame().begin).at(0);
  std::vector<std::map<std::string, std::string>> rows;
  for (const auto& cells : Parse(formatter.Format(record))) {
    EXPECT_EQ(cells.size(), names.size());
    auto& row = rows.emplace_back();
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (!cells[i].empty()) row[names[i]] = cells[i];
    }
  }
  return rows;
}

using Row = std::map<std::string, std::string>;

Record TwoStreams() {
  Record record;
  record.input = "a, \"b\"\n.mp4";
  record.location = Location{-1.5, 2};
  MediaRecord media;
  media.format = "mp4";
  media.size_bytes = 5;
  media.duration_100ns = 25'000'000;
  media.metadata = {{"MediaFile_Metedata_Maker", std::string("Eye")}};
  ProgramRecord program;
  program.id = 7;
  VideoRecord video;
  video.index = 0;
  video.codec = "h264";
  video.duration_100ns = 20'000'000;
  video.width = 320;
  video.frame_rate = core::Rational{30000, 1001};
  video.disposition = {"default", "forced"};
  video.flip = "none";
  program.video = {video};
  AudioRecord audio;
  audio.index = 1;
  audio.sample_rate_hz = 48000;
  program.audio = {audio};
  media.programs = {program};
  record.answer = media;
  return record;
}

TEST(CsvFormatter, GivesARowForEachStream) {
  const auto rows = Rows(TwoStreams());
  ASSERT_THAT(rows, SizeIs(2));
  const Row file = {{"input", "a, \"b\"\n.mp4"}, {"service", "media"}, {"status", "ok"},  {"latitude", "-1.5"},
                    {"longitude", "2"},          {"maker", "Eye"},     {"format", "mp4"}, {"size", "5"},
                    {"duration", "2.5"},         {"program", "7"}};
  Row video = file;
  video.merge(Row{{"kind", "video"},
                  {"index", "0"},
                  {"id", "0"},
                  {"codec", "h264"},
                  {"stream_duration", "2"},
                  {"disposition", "default forced"},
                  {"width", "320"},
                  {"frame_rate", "30000/1001"},
                  {"rotation", "0"},
                  {"flip", "none"}});
  EXPECT_EQ(rows[0], video);
  Row audio = file;
  audio.merge(Row{{"kind", "audio"}, {"index", "1"}, {"id", "0"}, {"sample_rate", "48000"}});
  EXPECT_EQ(rows[1], audio);
}

TEST(CsvFormatter, GivesARowForAnImage) {
  Record record;
  record.input = "a.gif";
  ImageRecord image;
  image.width = 37;
  image.height = 23;
  image.rotation_degrees = 90;
  image.metadata = {{"Image_Metedata_CameraModel", std::string("E5")}};
  record.answer = image;
  EXPECT_THAT(Rows(record), ElementsAre(Row{{"input", "a.gif"},
                                            {"service", "image"},
                                            {"status", "ok"},
                                            {"model", "E5"},
                                            {"kind", "image"},
                                            {"width", "37"},
                                            {"height", "23"},
                                            {"rotation", "90"}}));
}

TEST(CsvFormatter, GivesARowForWhatHasNoStreams) {
  Record record;
  record.input = "a.mp4";
  record.error = "no such file";
  const auto rows = Rows(record);
  ASSERT_THAT(rows, SizeIs(1));
  EXPECT_EQ(rows[0].at("status"), "error");
  EXPECT_EQ(rows[0].at("error"), "no such file");
}

TEST(CsvFormatter, IsValidUtf8) {
  Record record;
  record.input = "a\xff.mp4";
  EXPECT_EQ(Rows(record).at(0).at("input"), "a\xEF\xBF\xBD.mp4");
}

TEST(CsvFormatter, WritesOutWhatATerminalWouldActUpon) {
  Record record;
  record.input = "a\x1b[2J\n\xE2\x80\xAE, \xC3\xA4.mp4";
  const CsvFormatter for_program(/*is_for_terminal=*/false);
  const CsvFormatter for_terminal(/*is_for_terminal=*/true);
  EXPECT_THAT(for_program.Format(record), StartsWith("\"" + record.input + "\","));
  EXPECT_THAT(for_terminal.Format(record), StartsWith("\"a\\x1b[2J\\n\\u202e, \xC3\xA4.mp4\","));
}

TEST(CsvFormatter, QuotesOnlyWhatNeedsIt) {
  EXPECT_TRUE(
      CsvFormatter(/*is_for_terminal=*/false).Format(TwoStreams()).starts_with("\"a, \"\"b\"\"\n.mp4\",media,ok,"));
}

}  // namespace
}  // namespace mediaprobe
