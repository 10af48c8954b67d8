#include "output/stream_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mediainfo/metedata_keys.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using ::testing::ElementsAre;

StreamCells VideoCells(const VideoRecord& video) {
  ProgramRecord program;
  program.video.push_back(video);
  return StreamLines(program).at(0);
}

VideoRecord PlainVideo() {
  VideoRecord video;
  video.codec = "h264";
  video.flip = "none";
  return video;
}

TEST(StreamLines, VideoTellsWhatPeopleLookForFirst) {
  VideoRecord video = PlainVideo();
  video.index = 3;
  video.profile = "High";
  video.width = video.display_width = 1920;
  video.height = video.display_height = 1080;
  video.frame_rate = core::Rational{2997, 100};
  video.bit_rate_bps = 2'100'000;
  video.chroma = "4:2:0";
  video.bit_depth = 8;
  video.color_primaries = "bt709";
  video.color_range = "full";
  video.language = "eng";
  video.disposition = {"default", "attached_pic"};
  EXPECT_THAT(VideoCells(video), ElementsAre("video 3", "h264 High", "1920x1080 29.97 fps", "2.1 Mb/s",
                                             "4:2:0 8 bit bt709 full range, eng, default, attached pic"));
}

TEST(StreamLines, WholeProfileTextStandsForTheProfile) {
  VideoRecord video = PlainVideo();
  video.profile = "High";
  video.metadata = {{keys::kVideoFormatProfile, std::string("High@L4.1")}};
  EXPECT_EQ(VideoCells(video)[1], "h264 High@L4.1");
}

TEST(StreamLines, ShownSizeIsToldWhereItDiffers) {
  VideoRecord video = PlainVideo();
  video.width = 720;
  video.height = 576;
  EXPECT_EQ(VideoCells(video)[2], "720x576");
  video.display_width = 1024;
  video.display_height = 576;
  EXPECT_EQ(VideoCells(video)[2], "720x576 (shown 1024x576)");
}

TEST(StreamLines, DynamicRangeIsNamedByItsTransfer) {
  VideoRecord video = PlainVideo();
  video.flags = {"hdr"};
  EXPECT_EQ(VideoCells(video)[4], "HDR");
  video.metadata = {{keys::kVideoTransferCharacteristics, std::int64_t{16}}};
  EXPECT_EQ(VideoCells(video)[4], "HDR (PQ)");
  video.metadata = {{keys::kVideoTransferCharacteristics, std::int64_t{18}}};
  EXPECT_EQ(VideoCells(video)[4], "HDR (HLG)");
  video.metadata.push_back({keys::kVideoIsDolbyVision, std::int64_t{1}});
  EXPECT_EQ(VideoCells(video)[4], "HDR (Dolby Vision)");
}

TEST(StreamLines, FlagsAndOrientation) {
  VideoRecord video = PlainVideo();
  video.flags = {"interlaced", "variable_frame_rate"};
  video.rotation_degrees = 90;
  video.flip = "vertical";
  EXPECT_EQ(VideoCells(video)[4], "interlaced, variable frame rate, rotated 90, flipped vertical");
  video.field_order = "top_first";
  video.flags = {"interlaced"};
  video.rotation_degrees = 0;
  video.flip = "none";
  EXPECT_EQ(VideoCells(video)[4], "interlaced (top first)");
}

TEST(StreamLines, UnknownCodecShowsItsCode) {
  VideoRecord video = PlainVideo();
  video.codec.reset();
  EXPECT_THAT(VideoCells(video), ElementsAre("video 0", "unknown codec", "", "", ""));
  video.fourcc = "keyb";
  EXPECT_EQ(VideoCells(video)[1], "unknown codec keyb");
  video.codec = "none";
  video.metadata = {{keys::kVideoFormatProfile, std::string("High")}};
  EXPECT_EQ(VideoCells(video)[1], "unknown codec keyb");
}

TEST(StreamLines, Audio) {
  ProgramRecord program;
  AudioRecord& audio = program.audio.emplace_back();
  audio.index = 1;
  audio.codec = "aac";
  audio.profile = "LC";
  audio.sample_rate_hz = 44'100;
  audio.channels = 6;
  audio.bit_rate_bps = 128'000;
  audio.bits_per_sample = 24;
  audio.flags = {"lossless"};
  audio.language = "deu";
  EXPECT_THAT(StreamLines(program).at(0),
              ElementsAre("audio 1", "aac LC", "44.1 kHz 6 channels", "128 kb/s", "24 bit, lossless, deu"));
}

TEST(StreamLines, ProfileNumbersAreNotShown) {
  VideoRecord video = PlainVideo();
  video.profile = std::int64_t{192};
  EXPECT_EQ(VideoCells(video)[1], "h264");
}

TEST(StreamLines, Subpicture) {
  ProgramRecord program;
  SubpictureRecord& subpicture = program.subpicture.emplace_back();
  subpicture.index = 2;
  subpicture.codec = "ass";
  subpicture.language = "fra\x1b";
  subpicture.disposition = {"forced"};
  EXPECT_THAT(StreamLines(program).at(0), ElementsAre("subtitle 2", "ass", "fra\\x1b, forced", "", ""));
}

TEST(StreamLines, StreamsStandInTheOrderOfTheFile) {
  ProgramRecord program;
  program.video.push_back(PlainVideo());
  program.video[0].index = 2;
  program.audio.emplace_back().index = 0;
  program.subpicture.emplace_back().index = 1;
  const std::vector<StreamCells> lines = StreamLines(program);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0][0], "audio 0");
  EXPECT_EQ(lines[1][0], "subtitle 1");
  EXPECT_EQ(lines[2][0], "video 2");
}

}  // namespace
}  // namespace mediaprobe
