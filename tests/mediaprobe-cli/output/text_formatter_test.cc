#include "output/text_formatter.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "mediainfo/metedata_keys.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

AudioRecord Audio(std::uint32_t index, const std::string& codec) {
  AudioRecord audio;
  audio.index = index;
  audio.codec = codec;
  audio.sample_rate_hz = 48'000;
  audio.channels = 2;
  return audio;
}

VideoRecord Video() {
  VideoRecord video;
  video.codec = "h264";
  video.flip = "none";
  video.width = 1920;
  video.height = 1080;
  video.bit_rate_bps = 2'000'000;
  return video;
}

Record Media() {
  Record record;
  record.input = "a.mp4";
  std::get<MediaRecord>(record.answer).format = "mp4";
  return record;
}

class TextFormatterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", /*overwrite=*/1);
    tzset();
  }
  static std::string Format(const Record& record) { return TextFormatter(TextLayout{}).Format(record); }
  static std::string FactLines(const Record& record) {
    const std::string text = Format(record);
    return text.substr(text.find('\n') + 1);
  }
  static std::string TitleLine(const std::string& title) {
    Record record = Media();
    std::get<MediaRecord>(record.answer).metadata = {{keys::kTitle, title}};
    return FactLines(record);
  }
};

TEST_F(TextFormatterTest, HeadlineHoldsWhatIsKnown) {
  Record record = Media();
  EXPECT_EQ(Format(record), "a.mp4: mp4\n");
  std::get<MediaRecord>(record.answer).duration_100ns = 100'050'000;
  std::get<MediaRecord>(record.answer).size_bytes = 2'788'750;
  std::get<MediaRecord>(record.answer).bit_rate_bps = 2'230'000;
  EXPECT_EQ(Format(record), "a.mp4: mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes), 2.23 Mb/s\n");
}

TEST_F(TextFormatterTest, StreamsStandInAlignedColumns) {
  Record record = Media();
  ProgramRecord program;
  program.video.push_back(Video());
  program.audio.push_back(Audio(1, "pcm_s16le"));
  program.audio[0].language = "eng";
  SubpictureRecord subpicture;
  subpicture.index = 2;
  subpicture.codec = "ass";
  program.subpicture.push_back(subpicture);
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  EXPECT_EQ(Format(record),
            "a.mp4: mp4\n"
            "  video 0     h264       1920x1080      2 Mb/s\n"
            "  audio 1     pcm_s16le  48 kHz stereo          eng\n"
            "  subtitle 2  ass\n");
}

TEST_F(TextFormatterTest, ColumnsThatNoStreamFillsTakeNoRoom) {
  Record record = Media();
  ProgramRecord program;
  program.audio.push_back(Audio(0, "aac"));
  program.audio[0].language = "eng";
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  EXPECT_EQ(Format(record), "a.mp4: mp4\n  audio 0  aac  48 kHz stereo  eng\n");
}

TEST_F(TextFormatterTest, SeveralProgramsGetALineEach) {
  Record record = Media();
  ProgramRecord program;
  program.id = 1;
  program.duration_100ns = 10'000'000;
  program.bit_rate_bps = 5'000;
  program.audio.push_back(Audio(0, "aac"));
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  program.id = 2;
  program.duration_100ns.reset();
  program.bit_rate_bps.reset();
  program.audio[0].index = 10;
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  EXPECT_EQ(Format(record),
            "a.mp4: mp4\n"
            "  program 1, 0:00:01.000, 5 kb/s\n"
            "    audio 0   aac  48 kHz stereo\n"
            "  program 2\n"
            "    audio 10  aac  48 kHz stereo\n");
}

TEST_F(TextFormatterTest, FactsFollowTheStreams) {
  Record record = Media();
  record.created_s = 1'684'318'830;
  record.modified_s = 1'704'164'645;
  record.location = Location{-33.8568, 151.2153};
  record.aigc = R"({"Label":"1","ContentProducer":"Studio","ProduceID":""})";
  std::get<MediaRecord>(record.answer).metadata = {{keys::kArtist, std::string("Ada")},
                                                   {keys::kTitle, std::string("Am Meer")},
                                                   {keys::kActor, std::string("Ada")},
                                                   {keys::kMaker, std::string("Acme")},
                                                   {keys::kModel, std::string("Cam 9")}};
  EXPECT_EQ(FactLines(record),
            "  title     Am Meer\n"
            "  artist    Ada\n"
            "  created   2023-05-17 12:20:30 +02:00\n"
            "  modified  2024-01-02 04:04:05 +01:00\n"
            "  place     33.8568 S, 151.2153 E\n"
            "  camera    Acme Cam 9\n"
            "  AI label  Label 1, ContentProducer Studio\n");
}

TEST_F(TextFormatterTest, EqualDatesAreToldOnce) {
  Record record = Media();
  record.created_s = record.modified_s = 1'684'318'830;
  EXPECT_EQ(FactLines(record), "  created  2023-05-17 12:20:30 +02:00\n");
}

TEST_F(TextFormatterTest, PlaceNamesTheHemispheres) {
  Record record = Media();
  record.location = Location{40.5, -74.25};
  EXPECT_EQ(FactLines(record), "  place  40.5 N, 74.25 W\n");
}

TEST_F(TextFormatterTest, MakerIsNotRepeated) {
  Record record = Media();
  std::get<MediaRecord>(record.answer).metadata = {{keys::kMaker, std::string("Acme")},
                                                   {keys::kModel, std::string("Acme Cam 9")}};
  EXPECT_EQ(FactLines(record), "  camera  Acme Cam 9\n");
  std::get<MediaRecord>(record.answer).metadata = {{keys::kMaker, std::string("Acme")}};
  EXPECT_EQ(FactLines(record), "  camera  Acme\n");
}

TEST_F(TextFormatterTest, WrappedLabelsAreUnwrappedAndOthersShown) {
  Record record = Media();
  record.aigc = R"({"AIGC":{"Label":"1","Extra":5}})";
  EXPECT_EQ(FactLines(record), "  AI label  Label 1, Extra 5\n");
  record.aigc = "by a machine";
  EXPECT_EQ(FactLines(record), "  AI label  by a machine\n");
}

TEST_F(TextFormatterTest, TextsFromTheFileAreFitForATerminal) {
  EXPECT_EQ(TitleLine("a\n\x1b[31m"), "  title  a\\n\\x1b[31m\n");
  EXPECT_EQ(TitleLine(std::string(1000, 'x')), "  title  " + std::string(240, 'x') + "...\n");
  Record record = Media();
  record.input = "a\x1b.mp4";
  EXPECT_EQ(Format(record), "a\\x1b.mp4: mp4\n");
}

TEST_F(TextFormatterTest, FailuresAreALine) {
  Record record = Media();
  record.error = "no such file";
  EXPECT_EQ(Format(record), "a.mp4: no such file\n");
}

TEST_F(TextFormatterTest, BlocksAreApart) {
  const OutputFrame frame = TextFormatter(TextLayout{}).Frame();
  EXPECT_EQ(frame.begin, "");
  EXPECT_EQ(frame.between, "\n");
  EXPECT_EQ(frame.end, "");
}

TEST_F(TextFormatterTest, ColorsAreUsedWhenAskedFor) {
  Record record = Media();
  EXPECT_EQ(TextFormatter({.use_colors = true}).Format(record), "\x1b[1ma.mp4\x1b[0m: mp4\n");
  record.error = "no such file";
  EXPECT_EQ(TextFormatter({.use_colors = true}).Format(record), "\x1b[1ma.mp4\x1b[0m: \x1b[31mno such file\x1b[0m\n");
}

class TextOnATerminalTest : public TextFormatterTest {
 protected:
  static std::string Format(const Record& record, std::size_t columns, bool is_full = false) {
    return TextFormatter({.is_full = is_full, .columns = columns}).Format(record);
  }
};

TEST_F(TextOnATerminalTest, HeadlineGoesBelowALongName) {
  Record record = Media();
  record.input = "a concert in the park.mp4";
  std::get<MediaRecord>(record.answer).duration_100ns = 100'050'000;
  std::get<MediaRecord>(record.answer).size_bytes = 2'788'750;
  EXPECT_EQ(Format(record, 70), "a concert in the park.mp4: mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes)\n");
  EXPECT_EQ(Format(record, 69),
            "a concert in the park.mp4:\n"
            "  mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes)\n");
  EXPECT_EQ(Format(record, 40),
            "a concert in the park.mp4:\n"
            "  mp4, 0:00:10.005, 2.79 MB (2,788,750\n"
            "  bytes)\n");
}

TEST_F(TextOnATerminalTest, NamesAreMeasuredInColumns) {
  Record record = Media();
  record.input = "\u591c\u660e\u3051\u306e\u6d77\u591c\u660e\u3051\u306e\u6d77\u591c\u660e\u3051\u306e.mp4";
  EXPECT_EQ(Format(record, 40), record.input + ": mp4\n");  // 28 + 4 + 5 columns
  record.input += "\u6d77\u6d77";
  EXPECT_EQ(Format(record, 40), record.input + ":\n  mp4\n");
  EXPECT_EQ(Format(record, 41), record.input + ": mp4\n");
  record.input =
      "\u05e9\u05dc\u05d5\u05dd \u05e9\u05dc\u05d5\u05dd \u05e9\u05dc\u05d5\u05dd \u05e9\u05dc\u05d5\u05dd.mp4";
  EXPECT_EQ(Format(record, 40), record.input + ": mp4\n");
}

TEST_F(TextOnATerminalTest, ReasonsGoBelowALongName) {
  Record record = Media();
  record.input = "a concert in the park.mp4";
  record.error = "not a media file";
  EXPECT_EQ(Format(record, 43), "a concert in the park.mp4: not a media file\n");
  EXPECT_EQ(Format(record, 42), "a concert in the park.mp4:\n  not a media file\n");
}

TEST_F(TextOnATerminalTest, CellsOfAStreamThatDoNotFitStandBelow) {
  Record record = Media();
  ProgramRecord program;
  program.video.push_back(Video());
  program.video[0].color_primaries = "bt709";
  program.video[0].rotation_degrees = 90;
  program.video[0].disposition = {"default", "original"};
  program.audio.push_back(Audio(1, "pcm_s16le"));
  program.audio[0].language = "eng";
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  EXPECT_EQ(Format(record, 82),
            "a.mp4: mp4\n"
            "  video 0  h264       1920x1080      2 Mb/s  bt709, rotated 90, default, original\n"
            "  audio 1  pcm_s16le  48 kHz stereo          eng\n");
  EXPECT_EQ(Format(record, 80),
            "a.mp4: mp4\n"
            "  video 0  h264       1920x1080      2 Mb/s\n"
            "           bt709, rotated 90, default, original\n"
            "  audio 1  pcm_s16le  48 kHz stereo          eng\n");
  EXPECT_EQ(Format(record, 40),
            "a.mp4: mp4\n"
            "  video 0  h264       1920x1080\n"
            "           2 Mb/s  bt709, rotated 90,\n"
            "           default, original\n"
            "  audio 1  pcm_s16le  48 kHz stereo\n"
            "           eng\n");
}

TEST_F(TextOnATerminalTest, LongTagsAreWrappedBesideTheirLabel) {
  Record record = Media();
  std::get<MediaRecord>(record.answer).metadata = {
      {keys::kTitle, std::string("The quick brown fox jumps over the lazy dog")},
      {keys::kArtist, std::string("\u6d77\u8fba\u306e\u671d\u3001\u9759\u304b\u306a\u6ce2\u306e\u97f3\u304c\u3044"
                                  "\u3064\u307e\u3067\u3082")}};
  EXPECT_EQ(Format(record, 40),
            "a.mp4: mp4\n"
            "  title   The quick brown fox jumps over\n"
            "          the lazy dog\n"
            "  artist  \u6d77\u8fba\u306e\u671d\u3001\u9759\u304b\u306a\u6ce2\u306e\u97f3\u304c\u3044\u3064\u307e\n"
            "          \u3067\u3082\n");
}

TEST_F(TextOnATerminalTest, MetadataStandsUnderHeadings) {
  Record record = Media();
  auto& media = std::get<MediaRecord>(record.answer);
  media.metadata = {{keys::kTitle, std::string("The quick brown fox jumps over the lazy dog")},
                    {keys::kGpsLatitude, 33.8568}};
  ProgramRecord program;
  program.video.push_back(Video());
  program.video[0].metadata = {{keys::kVideoIsDolbyVision, std::int64_t{0}}};
  media.programs.push_back(program);
  EXPECT_EQ(Format(record, 60, /*is_full=*/true),
            "a.mp4: mp4\n"
            "  video 0  h264  1920x1080  2 Mb/s\n"
            "  title  The quick brown fox jumps over the lazy dog\n"
            "  metadata\n"
            "    MediaFile_Metedata_Title\n"
            "      The quick brown fox jumps over the lazy dog\n"
            "    MediaFile_Metedata_GPSLatitude  33.8568\n"
            "  video 0\n"
            "    MediaFile_Metedata_Video_Is_DolbyVision  0\n");
  EXPECT_EQ(TextFormatter({.is_full = true}).Format(record),
            "a.mp4: mp4\n"
            "  video 0  h264  1920x1080  2 Mb/s\n"
            "  title  The quick brown fox jumps over the lazy dog\n"
            "  metadata\n"
            "    MediaFile_Metedata_Title        The quick brown fox jumps over the lazy dog\n"
            "    MediaFile_Metedata_GPSLatitude  33.8568\n"
            "  video 0\n"
            "    MediaFile_Metedata_Video_Is_DolbyVision  0\n");
}

TEST_F(TextOnATerminalTest, TerminalsTooNarrowWrapThemselves) {
  Record record = Media();
  record.input = std::string(39, 'x');
  EXPECT_EQ(Format(record, 39), record.input + ": mp4\n");
  EXPECT_EQ(Format(record, 40), record.input + ":\n  mp4\n");
  EXPECT_EQ(Format(record, 0), record.input + ": mp4\n");
}

TEST_F(TextOnATerminalTest, ColorsTakeNoColumns) {
  Record record = Media();
  record.input = "a concert in the park.mp4";
  record.error = "a reason that is not told in a single line";
  const std::string text = TextFormatter({.use_colors = true, .columns = 40}).Format(record);
  EXPECT_EQ(text,
            "\x1b[1ma concert in the park.mp4\x1b[0m:\n"
            "  \x1b[31ma reason that is not told in a single\x1b[0m\n"
            "  \x1b[31mline\x1b[0m\n");
  record.error = "no such file";
  EXPECT_EQ(TextFormatter({.use_colors = true, .columns = 40}).Format(record),
            "\x1b[1ma concert in the park.mp4\x1b[0m: \x1b[31mno such file\x1b[0m\n");
}

}  // namespace
}  // namespace mediaprobe
