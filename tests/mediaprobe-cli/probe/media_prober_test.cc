#include "probe/media_prober.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/error_text.h"
#include "fake_media.h"
#include "mediainfo/metedata_keys.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;
using ::testing::ElementsAre;
using testing::FakeAudio;
using testing::FakeFile;
using testing::FakeMediaService;
using testing::FakeProgram;
using testing::FakeStream;
using testing::FakeVideo;
using ::testing::IsEmpty;
using testing::ScratchFolder;

Record ProbeInput(const MediaProber& prober, const std::string& input) {
  InputPath path = ToInputPath(input);
  return prober.Probe(path);
}

const MediaRecord& Media(const Record& record) { return std::get<MediaRecord>(record.answer); }

Record ProbeFile(std::shared_ptr<FakeFile> file) {
  FakeMediaService service([&file](const std::string&, const std::string&) { return file; });
  Record record = ProbeInput(MediaProber(service, ""), "a.mp4");
  EXPECT_EQ(service.open_sessions, 0);
  return record;
}

VideoRecord ProbeVideo(std::shared_ptr<FakeStream> stream) {
  auto file = std::make_shared<FakeFile>();
  file->programs.push_back(std::make_shared<FakeProgram>());
  file->programs[0]->video.push_back(std::move(stream));
  return Media(ProbeFile(file)).programs.at(0).video.at(0);
}

AudioRecord ProbeAudio(std::shared_ptr<FakeStream> stream) {
  auto file = std::make_shared<FakeFile>();
  file->programs.push_back(std::make_shared<FakeProgram>());
  file->programs[0]->audio.push_back(std::move(stream));
  return Media(ProbeFile(file)).programs.at(0).audio.at(0);
}

std::shared_ptr<FakeStream> VideoStream() {
  auto stream = std::make_shared<FakeStream>();
  stream->video = std::make_shared<FakeVideo>();
  return stream;
}

TEST(MediaProber, FileAnswersAreTaken) {
  const Record record = ProbeFile(testing::MakeFullFile());
  EXPECT_EQ(record.error, std::nullopt);
  EXPECT_EQ(Media(record).format, "mp4");
  EXPECT_EQ(Media(record).format_long, "MP4 (MPEG-4 Part 14)");
  EXPECT_EQ(Media(record).fourcc, "MP4 ");
  EXPECT_EQ(Media(record).size_bytes, 2'788'750u);
  EXPECT_EQ(Media(record).duration_100ns, 100'050'000u);
  EXPECT_EQ(Media(record).bit_rate_bps, 2'230'000u);
  EXPECT_EQ(record.created_s, 1'684'318'830);
  EXPECT_EQ(record.modified_s, 1'704'164'645);
  ASSERT_TRUE(record.location);
  EXPECT_EQ(record.location->latitude, -33.8568);
  EXPECT_EQ(record.aigc, "{\"Label\":\"1\",\"ContentProducer\":\"Studio\"}");
  ASSERT_EQ(Media(record).programs.size(), 1u);
  EXPECT_EQ(Media(record).programs[0].id, 1u);
  EXPECT_EQ(Media(record).programs[0].duration_100ns, 100'050'000u);
  EXPECT_EQ(Media(record).programs[0].bit_rate_bps, 2'228'000u);
}

TEST(MediaProber, VideoAnswersAreTaken) {
  const VideoRecord video = Media(ProbeFile(testing::MakeFullFile())).programs.at(0).video.at(0);
  EXPECT_EQ(video.index, 0u);
  EXPECT_EQ(video.id, 1u);
  EXPECT_EQ(video.codec, "h264");
  EXPECT_EQ(video.codec_long, "H.264 / AVC / MPEG-4 AVC / MPEG-4 part 10");
  EXPECT_EQ(video.fourcc, "avc1");
  EXPECT_EQ(std::get<std::string>(video.profile.value()), "High");
  EXPECT_EQ(video.level, 41);
  EXPECT_EQ(video.language, "eng");
  EXPECT_EQ(video.duration_100ns, 100'000'000u);
  EXPECT_EQ(video.bit_rate_bps, 2'100'000u);
  EXPECT_THAT(video.disposition, ElementsAre("default"));
  EXPECT_EQ(video.width, 1440u);
  EXPECT_EQ(video.height, 1080u);
  EXPECT_EQ(video.display_width, 1920u);
  EXPECT_EQ(video.display_height, 1080u);
  EXPECT_EQ(video.frame_rate, (core::Rational{2997, 100}));
  EXPECT_EQ(video.frame_count, 300u);
  EXPECT_EQ(video.rotation_degrees, 90u);
  EXPECT_EQ(video.flip, "none");
  EXPECT_EQ(video.field_order, "top_first");
  EXPECT_EQ(video.chroma, "4:2:0");
  EXPECT_EQ(video.bit_depth, 10);
  EXPECT_EQ(std::get<std::string>(video.color_primaries.value()), "bt2020");
  EXPECT_EQ(video.color_range, "limited");
  EXPECT_THAT(video.flags, ElementsAre("interlaced", "hdr"));
  EXPECT_EQ(video.metadata.size(), 4u);
}

TEST(MediaProber, AudioAndSubpictureAnswersAreTaken) {
  const ProgramRecord program = Media(ProbeFile(testing::MakeFullFile())).programs.at(0);
  const AudioRecord& audio = program.audio.at(0);
  EXPECT_EQ(audio.index, 1u);
  EXPECT_EQ(audio.id, 2u);
  EXPECT_EQ(audio.codec, "aac");
  EXPECT_EQ(audio.fourcc, "mp4a");
  EXPECT_EQ(std::get<std::string>(audio.profile.value()), "LC");
  EXPECT_EQ(audio.language, "deu");
  EXPECT_EQ(audio.bit_rate_bps, 128'000u);
  EXPECT_EQ(audio.sample_rate_hz, 44'100u);
  EXPECT_EQ(audio.channels, 2u);
  EXPECT_EQ(audio.bits_per_sample, 16u);
  EXPECT_THAT(audio.flags, ElementsAre("variable_bit_rate"));
  const SubpictureRecord& subpicture = program.subpicture.at(0);
  EXPECT_EQ(subpicture.index, 2u);
  EXPECT_EQ(subpicture.id, 3u);
  EXPECT_EQ(subpicture.codec, "mov_text");
  EXPECT_EQ(subpicture.language, "fra");
  EXPECT_THAT(subpicture.disposition, ElementsAre("forced"));
}

TEST(MediaProber, UnknownAnswersStayEmpty) {
  auto file = std::make_shared<FakeFile>();
  const Record record = ProbeFile(file);
  EXPECT_EQ(Media(record).fourcc, "");
  EXPECT_EQ(Media(record).size_bytes, std::nullopt);
  EXPECT_EQ(Media(record).duration_100ns, std::nullopt);
  EXPECT_EQ(Media(record).bit_rate_bps, std::nullopt);
  EXPECT_EQ(record.created_s, std::nullopt);
  EXPECT_EQ(record.modified_s, std::nullopt);
  EXPECT_FALSE(record.location);
  EXPECT_EQ(record.aigc, std::nullopt);
  EXPECT_THAT(Media(record).programs, IsEmpty());

  const VideoRecord video = ProbeVideo(VideoStream());
  EXPECT_EQ(video.codec, std::nullopt);
  EXPECT_EQ(video.fourcc, std::nullopt);
  EXPECT_FALSE(video.profile);
  EXPECT_EQ(video.level, std::nullopt);
  EXPECT_EQ(video.language, std::nullopt);
  EXPECT_EQ(video.bit_rate_bps, std::nullopt);
  EXPECT_EQ(video.width, std::nullopt);
  EXPECT_EQ(video.display_width, std::nullopt);
  EXPECT_EQ(video.frame_rate, std::nullopt);
  EXPECT_EQ(video.frame_count, std::nullopt);
  EXPECT_EQ(video.field_order, std::nullopt);
  EXPECT_EQ(video.chroma, std::nullopt);
  EXPECT_EQ(video.bit_depth, std::nullopt);
  EXPECT_FALSE(video.color_primaries);
  EXPECT_EQ(video.color_range, std::nullopt);

  auto stream = std::make_shared<FakeStream>();
  stream->audio = std::make_shared<FakeAudio>();
  const AudioRecord audio = ProbeAudio(stream);
  EXPECT_FALSE(audio.profile);
  EXPECT_EQ(audio.sample_rate_hz, std::nullopt);
  EXPECT_EQ(audio.channels, std::nullopt);
  EXPECT_EQ(audio.bits_per_sample, std::nullopt);
}

TEST(MediaProber, StreamsWithoutDetailsAreStillTold) {
  EXPECT_EQ(ProbeVideo(std::make_shared<FakeStream>()).width, std::nullopt);
  EXPECT_EQ(ProbeAudio(std::make_shared<FakeStream>()).channels, std::nullopt);
}

TEST(MediaProber, RateOfOneCountsOnlyWhereTheFramesSayTheSame) {
  const auto stream = VideoStream();
  stream->duration = 100'000'000;
  stream->video->frame_count = 250;
  EXPECT_EQ(ProbeVideo(stream).frame_rate, std::nullopt);
  stream->video->frame_count = 10;
  EXPECT_EQ(ProbeVideo(stream).frame_rate, (core::Rational{1, 1}));
  stream->video->frame_count = 1;
  stream->duration = 10'000'000;
  EXPECT_EQ(ProbeVideo(stream).frame_rate, std::nullopt);
  stream->video->rate = {0, 1000};
  EXPECT_EQ(ProbeVideo(stream).frame_rate, std::nullopt);
  stream->video->rate = {25, 0};
  EXPECT_EQ(ProbeVideo(stream).frame_rate, std::nullopt);
}

TEST(MediaProber, OneFrameCountsOnlyWhereItLasts) {
  const auto stream = VideoStream();
  stream->duration = 0;
  stream->video->frame_count = 1;
  EXPECT_EQ(ProbeVideo(stream).frame_count, std::nullopt);
  stream->video->frame_count = 2;
  EXPECT_EQ(ProbeVideo(stream).frame_count, 2u);
  stream->video->frame_count = 1;
  stream->duration = 400'000;
  EXPECT_EQ(ProbeVideo(stream).frame_count, 1u);
}

TEST(MediaProber, ProfileIsTheNumberWhereThereIsNoName) {
  const auto video = VideoStream();
  video->profile = 578;
  EXPECT_EQ(std::get<std::int64_t>(ProbeVideo(video).profile.value()), 578);
  const auto audio = std::make_shared<FakeStream>();
  audio->codec = "opus";
  audio->profile = 3;
  EXPECT_EQ(std::get<std::int64_t>(ProbeAudio(audio).profile.value()), 3);
}

TEST(MediaProber, PrimariesWithoutANameAreTheirNumber) {
  const auto stream = VideoStream();
  stream->video->primaries = 200;
  EXPECT_EQ(std::get<std::int64_t>(ProbeVideo(stream).color_primaries.value()), 200);
  stream->video->primaries = 0;
  EXPECT_FALSE(ProbeVideo(stream).color_primaries);
}

TEST(MediaProber, UndeterminedLanguageIsNone) {
  const auto stream = VideoStream();
  stream->language = "und";
  EXPECT_EQ(ProbeVideo(stream).language, std::nullopt);
}

TEST(MediaProber, BitRateOfTheFormatStandsInForTheStreams) {
  const auto video = VideoStream();
  video->video->bit_rate = 500;
  EXPECT_EQ(ProbeVideo(video).bit_rate_bps, 500u);
  video->bit_rate = 600;
  EXPECT_EQ(ProbeVideo(video).bit_rate_bps, 600u);
  video->bit_rate = 0;
  video->video->bit_rate = -1;
  EXPECT_EQ(ProbeVideo(video).bit_rate_bps, std::nullopt);
  const auto audio = std::make_shared<FakeStream>();
  audio->audio = std::make_shared<FakeAudio>();
  audio->audio->bit_rate = 700;
  EXPECT_EQ(ProbeAudio(audio).bit_rate_bps, 700u);
}

TEST(MediaProber, FlipsAndTurnsAreToldAsTheyAre) {
  const auto stream = VideoStream();
  stream->video->quarter_turns = 2;
  stream->video->flip = 3;
  const VideoRecord video = ProbeVideo(stream);
  EXPECT_EQ(video.rotation_degrees, 180u);
  EXPECT_EQ(video.flip, "both");
}

TEST(MediaProber, FailuresSayWhy) {
  const ScratchFolder folder;
  const std::string path = folder.AddFile("a.mp4");
  std::string words;
  FakeMediaService service([&words](const std::string&, const std::string&) {
    if (!words.empty()) CoreSetErrorText(words.c_str());
    return nullptr;
  });
  const MediaProber prober(service, "");
  words = "file ends early";
  EXPECT_EQ(ProbeInput(prober, path).error, "file ends early");
  words.clear();
  EXPECT_EQ(ProbeInput(prober, path).error, "not a media file");
  EXPECT_EQ(ProbeInput(prober, folder.path() + "/none").error, "no such file");
  EXPECT_EQ(service.open_sessions, 0);
}

TEST(MediaProber, ServiceWithoutSessions) {
  FakeMediaService service([](const std::string&, const std::string&) { return nullptr; });
  service.gives_sessions = false;
  EXPECT_EQ(ProbeInput(MediaProber(service, ""), "a").error, "the media file service gives no session");
  EXPECT_EQ(service.open_sessions, 0);
}

TEST(MediaProber, KeyIsGivenBeforeTheSessionOpens) {
  std::string key_at_open;
  FakeMediaService service([&key_at_open](const std::string&, const std::string& key) {
    key_at_open = key;
    return nullptr;
  });
  ProbeInput(MediaProber(service, "0011"), "a");
  EXPECT_EQ(key_at_open, "0011");
}

TEST(MediaProber, NoKeyIsGivenWhereThereIsNone) {
  FakeMediaService service([](const std::string&, const std::string&) { return nullptr; });
  service.key = "as it was";
  ProbeInput(MediaProber(service, ""), "a");
  EXPECT_EQ(service.key, "as it was");
}

TEST(MediaProber, ServiceGetsAnAbsolutePath) {
  std::string opened;
  FakeMediaService service([&opened](const std::string& url, const std::string&) {
    opened = url;
    return nullptr;
  });
  ProbeInput(MediaProber(service, ""), "http_clips/a.mp4");
  EXPECT_TRUE(opened.starts_with("/"));
  EXPECT_TRUE(opened.ends_with("/http_clips/a.mp4"));
}

}  // namespace
}  // namespace mediaprobe
