#include "output/record_json.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "output/json_text.h"

namespace mediaprobe {
namespace {

using Json = nlohmann::ordered_json;

std::vector<std::string> KeysOf(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& item : object.items()) keys.push_back(item.key());
  return keys;
}

VideoRecord FullVideo() {
  VideoRecord video;
  video.codec = "h264";
  video.codec_long = "H.264";
  video.fourcc = "avc1";
  video.profile = "High";
  video.level = 41;
  video.language = "eng";
  video.duration_100ns = 12'345'678;
  video.bit_rate_bps = 1000;
  video.disposition = {"default", "forced"};
  video.width = 1440;
  video.height = 1080;
  video.display_width = 1920;
  video.display_height = 1080;
  video.frame_rate = core::Rational{25, 1};
  video.frame_count = 250;
  video.rotation_degrees = 90;
  video.flip = "none";
  video.field_order = "progressive";
  video.chroma = "4:2:0";
  video.bit_depth = 8;
  video.color_primaries = "bt709";
  video.color_range = "full";
  video.flags = {"hdr"};
  video.metadata = {{"MediaFile_Metedata_Video_Max_Framerate", core::Rational{30000, 1001}}};
  return video;
}

AudioRecord FullAudio() {
  AudioRecord audio;
  audio.codec = "aac";
  audio.codec_long = "AAC";
  audio.fourcc = "mp4a";
  audio.profile = std::int64_t{1};
  audio.language = "eng";
  audio.duration_100ns = 20'000'000;
  audio.bit_rate_bps = 1000;
  audio.sample_rate_hz = 48000;
  audio.channels = 2;
  audio.bits_per_sample = 16;
  return audio;
}

Record FullRecord() {
  Record record;
  record.input = "a.mp4";
  record.created_s = 0;
  record.modified_s = 86'400;
  record.location = Location{-33.5, 151.25};
  record.aigc = R"({"Label":"1"})";
  MediaRecord& media = std::get<MediaRecord>(record.answer);
  media.format = "mp4";
  media.format_long = "MP4";
  media.fourcc = "MP4 ";
  media.size_bytes = 12'345'678'901;
  media.duration_100ns = 12'345'678;
  media.bit_rate_bps = 5'000'000'000;
  ProgramRecord program;
  program.id = 7;
  program.duration_100ns = 12'345'678;
  program.bit_rate_bps = 1000;
  program.video.push_back(FullVideo());
  program.audio.push_back(FullAudio());
  SubpictureRecord subpicture;
  subpicture.codec = "ass";
  subpicture.language = "fra";
  program.subpicture.push_back(subpicture);
  media.programs.push_back(program);
  media.metadata = {{"MediaFile_Metedata_Title", std::string("T")}};
  return record;
}

TEST(RecordJson, KeysStandInTheOrderOfTheContract) {
  using Keys = std::vector<std::string>;
  const Json json = ToJson(FullRecord());
  EXPECT_EQ(KeysOf(json), (Keys{"input", "service", "status", "created", "modified", "location", "aigc", "format",
                                "format_long", "fourcc", "size", "duration", "bit_rate", "programs", "metadata"}));
  const Json& program = json["programs"][0];
  EXPECT_EQ(KeysOf(program), (Keys{"id", "duration", "bit_rate", "video", "audio", "subpicture"}));
  EXPECT_EQ(KeysOf(program["video"][0]),
            (Keys{"index",       "id",          "codec",           "codec_long",    "fourcc",
                  "profile",     "level",       "language",        "duration",      "bit_rate",
                  "disposition", "width",       "height",          "display_width", "display_height",
                  "frame_rate",  "frame_count", "rotation",        "flip",          "field_order",
                  "chroma",      "bit_depth",   "color_primaries", "color_range",   "flags",
                  "metadata"}));
  EXPECT_EQ(KeysOf(program["audio"][0]),
            (Keys{"index", "id", "codec", "codec_long", "fourcc", "profile", "language", "duration", "bit_rate",
                  "disposition", "sample_rate", "channels", "bits_per_sample", "flags"}));
  EXPECT_EQ(KeysOf(program["subpicture"][0]), (Keys{"index", "id", "codec", "language", "disposition"}));
}

TEST(RecordJson, Values) {
  setenv("TZ", "UTC0", /*overwrite=*/1);
  tzset();
  const Json json = ToJson(FullRecord());
  EXPECT_EQ(json["input"], "a.mp4");
  EXPECT_EQ(json["service"], "media");
  EXPECT_EQ(json["status"], "ok");
  EXPECT_EQ(json["created"], "1970-01-01T00:00:00+00:00");
  EXPECT_EQ(json["modified"], "1970-01-02T00:00:00+00:00");
  EXPECT_EQ(json["location"].dump(), R"({"latitude":-33.5,"longitude":151.25})");
  EXPECT_EQ(json["aigc"].dump(), R"({"Label":"1"})");
  EXPECT_EQ(json["size"], 12'345'678'901);
  EXPECT_EQ(json["bit_rate"], 5'000'000'000);
  EXPECT_EQ(CompactJson(json["duration"]), "1.2345678");
  EXPECT_EQ(json["metadata"].dump(), R"({"MediaFile_Metedata_Title":"T"})");

  const Json& program = json["programs"][0];
  EXPECT_EQ(program["id"], 7);
  const Json& video = program["video"][0];
  EXPECT_EQ(video["profile"], "High");
  EXPECT_EQ(video["disposition"].dump(), R"(["default","forced"])");
  EXPECT_EQ(video["frame_rate"].dump(), R"({"num":25,"den":1})");
  EXPECT_EQ(video["metadata"].dump(), R"({"MediaFile_Metedata_Video_Max_Framerate":{"num":30000,"den":1001}})");
  const Json& audio = program["audio"][0];
  EXPECT_EQ(audio["profile"], 1);
  EXPECT_EQ(CompactJson(audio["duration"]), "2");
  EXPECT_EQ(audio["disposition"].dump(), "[]");
}

TEST(RecordJson, WhatIsNotKnownIsLeftOut) {
  Record record;
  record.input = "a.mp4";
  ProgramRecord program;
  program.video.emplace_back().flip = "none";
  program.audio.emplace_back();
  program.subpicture.emplace_back();
  std::get<MediaRecord>(record.answer).programs.push_back(program);
  EXPECT_EQ(
      ToJson(record).dump(),
      R"({"input":"a.mp4","service":"media","status":"ok","format":"","format_long":"","fourcc":"","programs":[)"
      R"({"id":0,"video":[{"index":0,"id":0,"disposition":[],"rotation":0,"flip":"none","flags":[],"metadata":{}}],)"
      R"("audio":[{"index":0,"id":0,"disposition":[],"flags":[]}],)"
      R"("subpicture":[{"index":0,"id":0,"disposition":[]}]}],"metadata":{}})");
}

TEST(RecordJson, FailuresKeepTheKeysThatAreAlwaysThere) {
  Record record;
  record.input = "a.mp4";
  record.error = "no such file";
  EXPECT_EQ(ToJson(record).dump(), R"({"input":"a.mp4","service":"media","status":"error","error":"no such file",)"
                                   R"("format":"","format_long":"","fourcc":"","programs":[],"metadata":{}})");
}

Record FullImageRecord() {
  Record record;
  record.input = "a.gif";
  record.uuid = "0123456789abcdef0123456789abcdef";
  record.aigc = "by a machine";
  ImageRecord image;
  image.width = 4000;
  image.height = 3000;
  image.duration_100ns = 12'000'000;
  image.frame_count = 30;
  image.rotation_degrees = 0;
  image.flip = "vertical";
  image.metadata = {{"Image_Metedata_ExposureTime", 0.008}};
  record.answer = image;
  return record;
}

TEST(RecordJson, Images) {
  EXPECT_EQ(ToJson(FullImageRecord()).dump(),
            R"({"input":"a.gif","service":"image","status":"ok","uuid":"0123456789abcdef0123456789abcdef",)"
            R"("aigc":"by a machine","width":4000,"height":3000,"duration":1.2,"frame_count":30,"rotation":0,)"
            R"("flip":"vertical","metadata":{"Image_Metedata_ExposureTime":0.008}})");
}

TEST(RecordJson, ImagesThatTellNothing) {
  Record record;
  record.input = "a.gif";
  record.error = "not an image";
  record.answer.emplace<ImageRecord>();
  EXPECT_EQ(ToJson(record).dump(),
            R"({"input":"a.gif","service":"image","status":"error","error":"not an image","metadata":{}})");
}

TEST(RecordJson, Svgs) {
  Record record;
  record.input = "a.svg";
  record.answer = SvgRecord{200, 100, 24, 12};
  EXPECT_EQ(ToJson(record).dump(),
            R"({"input":"a.svg","service":"svg","status":"ok","width":200,"height":100,"view_width":24,)"
            R"("view_height":12})");
  record.answer = SvgRecord{};
  EXPECT_EQ(ToJson(record).dump(), R"({"input":"a.svg","service":"svg","status":"ok"})");
}

TEST(RecordJson, LabelThatIsNoJsonIsAText) {
  Record record;
  record.aigc = "by a machine";
  EXPECT_EQ(ToJson(record)["aigc"], "by a machine");
}

TEST(RecordJson, DurationsHaveAtMostSevenDecimals) {
  Record record;
  for (std::uint64_t ticks = 1; ticks < 4'000'000'000'000'000; ticks = ticks * 7 / 5 + 1) {
    std::get<MediaRecord>(record.answer).duration_100ns = ticks;
    const std::string text = CompactJson(ToJson(record)["duration"]);
    const std::size_t point = text.find('.');
    const std::size_t decimals = point == std::string::npos ? 0 : text.size() - point - 1;
    EXPECT_LE(decimals, 7u) << text;
  }
}

TEST(RecordJson, DatesThatHaveNoTextAreLeftOut) {
  Record record;
  record.created_s = INT64_MAX;
  EXPECT_FALSE(ToJson(record).contains("created"));
}

}  // namespace
}  // namespace mediaprobe
