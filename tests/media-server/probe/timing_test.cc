#include "media-server/probe/timing.h"

#include <gtest/gtest.h>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"
#include "tests/media-server/comma_locale.h"

namespace media_server::probe {
namespace {

class TimingTest : public testing::Test {
 protected:
  AVStream& AddStream(AVMediaType type) {
    AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    stream->codecpar->codec_type = type;
    stream->time_base = {1, 1000};
    return *stream;
  }

  // Samples of 40 ms each.
  static void AddSamples(AVStream& stream, int count, int size) {
    for (int i = 0; i < count; ++i) av_add_index_entry(&stream, 0, i * std::int64_t{40}, size, 0, AVINDEX_KEYFRAME);
  }

  FormatContextHandle context_{avformat_alloc_context()};
  AVStream& video_ = AddStream(AVMEDIA_TYPE_VIDEO);
};

TEST_F(TimingTest, TakesTheStreamsOwnDuration) {
  video_.duration = 2500;
  av_dict_set(&video_.metadata, "DURATION", "00:00:09.000000000", 0);
  EXPECT_EQ(StreamDuration(video_), 2.5);
}

TEST_F(TimingTest, TakesTheStatisticsTagForWantOfADuration) {
  video_.duration = AV_NOPTS_VALUE;
  av_dict_set(&video_.metadata, "DURATION-eng", "01:02:03.500000000", 0);
  EXPECT_EQ(StreamDuration(video_), 3723.5);
}

TEST_F(TimingTest, TheStatisticsTagHasAPointInEveryLocale) {
  const CommaLocale locale;
  ASSERT_TRUE(CommaLocale::IsInForce());
  video_.duration = AV_NOPTS_VALUE;
  av_dict_set(&video_.metadata, "DURATION", "01:02:03.500000000", 0);
  EXPECT_EQ(StreamDuration(video_), 3723.5);
}

TEST_F(TimingTest, KnowsNoDurationFromGarbage) {
  for (const char* text : {"", "abc", "1:2", "00:00:00.000", "00:00:nan", "00:00:-5"}) {
    av_dict_set(&video_.metadata, "DURATION", text, 0);
    EXPECT_EQ(StreamDuration(video_), std::nullopt) << text;
  }
}

TEST_F(TimingTest, FileDurationIsTheContainers) {
  context_->duration = 3 * AV_TIME_BASE;
  video_.duration = 1000;
  EXPECT_EQ(FileDuration(*context_, std::nullopt), 3);
}

TEST_F(TimingTest, FileDurationSpansSoundPictureAndSubtitleStreams) {
  video_.start_time = 500;
  video_.duration = 1000;
  AVStream& sound = AddStream(AVMEDIA_TYPE_AUDIO);
  sound.start_time = 1000;
  sound.duration = 2000;
  AVStream& data = AddStream(AVMEDIA_TYPE_DATA);
  data.start_time = 0;
  data.duration = 90'000;
  EXPECT_EQ(FileDuration(*context_, std::nullopt), 2.5);
  AVStream& subtitle = AddStream(AVMEDIA_TYPE_SUBTITLE);
  subtitle.start_time = 2000;
  subtitle.duration = 2000;
  EXPECT_EQ(FileDuration(*context_, std::nullopt), 3.5);
}

TEST_F(TimingTest, ACoverDoesNotLengthenTheFile) {
  video_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  video_.duration = 90'000;
  EXPECT_EQ(FileDuration(*context_, std::nullopt), 0);
}

TEST_F(TimingTest, SoundOfAKnownRateTellsTheLengthOfAFileThatIsNothingElse) {
  constexpr std::uint64_t kSize = 801'540;
  context_->iformat = av_find_input_format("wav");
  video_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  AVStream& sound = AddStream(AVMEDIA_TYPE_AUDIO);
  EXPECT_EQ(FileDuration(*context_, kSize), 0) << "no rate";
  sound.codecpar->bit_rate = 320'000;
  EXPECT_DOUBLE_EQ(FileDuration(*context_, kSize), 20.0385);
  EXPECT_EQ(FileDuration(*context_, std::nullopt), 0);
  sound.duration = 5000;
  EXPECT_EQ(FileDuration(*context_, kSize), 5);
  sound.duration = AV_NOPTS_VALUE;
  video_.disposition = 0;
  EXPECT_EQ(FileDuration(*context_, kSize), 0) << "a film";
  video_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  context_->iformat = av_find_input_format("matroska");
  EXPECT_EQ(FileDuration(*context_, kSize), 0) << "what is no sound may be most of it";
  context_->iformat = nullptr;  // or the demuxer would close what it never opened
}

TEST_F(TimingTest, FileBitRateComesFromSizeAndDuration) {
  context_->bit_rate = 77;
  EXPECT_EQ(FileBitRate(*context_, 1000, 2), 4000u);
  EXPECT_EQ(FileBitRate(*context_, std::nullopt, 2), 77u);
  EXPECT_EQ(FileBitRate(*context_, 1000, 0), 77u);
  context_->bit_rate = -1;
  EXPECT_EQ(FileBitRate(*context_, 1000, 0), 0u);
}

TEST_F(TimingTest, UncompressedSoundHasAnExactBitRate) {
  AVStream& sound = AddStream(AVMEDIA_TYPE_AUDIO);
  sound.codecpar->codec_id = AV_CODEC_ID_PCM_S16LE;
  sound.codecpar->sample_rate = 44100;
  av_channel_layout_default(&sound.codecpar->ch_layout, 2);
  sound.codecpar->bit_rate = 5;
  EXPECT_EQ(StreamBitRate(sound), 1'411'200u);
}

TEST_F(TimingTest, StreamBitRateComesFromTheHeaderThenFromStatistics) {
  av_dict_set(&video_.metadata, "BPS-eng", "123456", 0);
  EXPECT_EQ(StreamBitRate(video_), 123'456u);
  video_.codecpar->bit_rate = 1000;
  EXPECT_EQ(StreamBitRate(video_), 1000u);
}

TEST_F(TimingTest, PicturesOfFragmentsThatWereNotReadHaveWhatSoundLeaves) {
  AVStream& sound = AddStream(AVMEDIA_TYPE_AUDIO);
  AVStream& other_view = AddStream(AVMEDIA_TYPE_VIDEO);
  for (AVStream* stream : {&video_, &sound, &other_view}) stream->duration = 3'600'000;
  AddSamples(video_, 50, 300);
  AddSamples(sound, 50, 500);
  AddSamples(other_view, 50, 100);
  SetRatesOfFragments(*context_, 1'100'000);
  EXPECT_EQ(sound.codecpar->bit_rate, 100'000);
  EXPECT_EQ(video_.codecpar->bit_rate, 750'000);
  EXPECT_EQ(other_view.codecpar->bit_rate, 250'000);
}

TEST_F(TimingTest, SoundAloneHasTheRateOfAllFragments) {
  video_.codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
  video_.duration = 3'600'000;
  AddSamples(video_, 50, 100);
  SetRatesOfFragments(*context_, 96'000);
  EXPECT_EQ(video_.codecpar->bit_rate, 96'000);
}

TEST_F(TimingTest, RatesOfFragmentsThatWereReadStay) {
  video_.codecpar->bit_rate = 1234;
  video_.duration = 2000;
  SetRatesOfFragments(*context_, 1'000'000);
  EXPECT_EQ(video_.codecpar->bit_rate, 1234) << "no sample";
  AddSamples(video_, 50, 300);
  SetRatesOfFragments(*context_, 1'000'000);
  EXPECT_EQ(video_.codecpar->bit_rate, 1234) << "all samples";
}

TEST_F(TimingTest, WhereSoundHasMoreThanAllPicturesKeepTheRateOfTheirSamples) {
  AVStream& sound = AddStream(AVMEDIA_TYPE_AUDIO);
  video_.duration = sound.duration = 3'600'000;
  AddSamples(video_, 50, 300);
  AddSamples(sound, 50, 500);
  SetRatesOfFragments(*context_, 90'000);
  EXPECT_EQ(video_.codecpar->bit_rate, 60'000);
  EXPECT_EQ(sound.codecpar->bit_rate, 100'000);
}

TEST_F(TimingTest, AVariableMpegRateIsNoRate) {
  video_.codecpar->bit_rate = 104'857'200;
  EXPECT_EQ(StreamBitRate(video_), 104'857'200u);
  video_.codecpar->codec_id = AV_CODEC_ID_MPEG1VIDEO;
  EXPECT_EQ(StreamBitRate(video_), 0u);
}

TEST_F(TimingTest, FrameRateIsTheAverageThenTheCodecsThenTheBase) {
  EXPECT_EQ(FrameRate(video_), 0);
  video_.r_frame_rate = {90'000, 1};
  EXPECT_EQ(FrameRate(video_), 0) << "no rate but the clock's";
  video_.r_frame_rate = {50, 1};
  EXPECT_EQ(FrameRate(video_), 50);
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(60, 12, 100)  // FFmpeg 6.1
  video_.codecpar->framerate = {25, 1};
  EXPECT_EQ(FrameRate(video_), 25) << "the other is of fields";
#endif
  video_.avg_frame_rate = {30000, 1001};
  EXPECT_DOUBLE_EQ(FrameRate(video_), 30000.0 / 1001);
  video_.disposition = AV_DISPOSITION_ATTACHED_PIC;
  EXPECT_EQ(FrameRate(video_), 0) << "a cover has none";
}

TEST_F(TimingTest, TheClockOfGxfCountsFields) {
  context_->iformat = av_find_input_format("gxf");
  video_.time_base = {1001, 60'000};
  video_.avg_frame_rate = video_.r_frame_rate = {60'000, 1001};
  SetRateOfFieldClock(*context_);
  EXPECT_DOUBLE_EQ(FrameRate(video_), 30000.0 / 1001);
  context_->iformat = av_find_input_format("mxf");
  video_.avg_frame_rate = {60'000, 1001};
  SetRateOfFieldClock(*context_);
  EXPECT_DOUBLE_EQ(FrameRate(video_), 60000.0 / 1001);
  context_->iformat = nullptr;  // or the demuxer would close what it never opened
}

TEST_F(TimingTest, TheLastPictureOfMpeg1IsAWholeOne) {
  const auto duration_of = [this](std::int64_t told_ms) {
    video_.start_time = 540;
    video_.duration = told_ms;
    context_->start_time = 500'000;
    context_->duration = 3'000'000;
    CompleteLastPicture(*context_);
    return video_.duration;
  };
  video_.codecpar->codec_id = AV_CODEC_ID_MPEG1VIDEO;
  video_.avg_frame_rate = {25, 1};
  context_->duration_estimation_method = AVFMT_DURATION_FROM_STREAM;
  EXPECT_EQ(duration_of(3980), 3980) << "the container tells it";
  context_->duration_estimation_method = AVFMT_DURATION_FROM_PTS;
  EXPECT_EQ(duration_of(3980), 4000);
  EXPECT_EQ(context_->duration, 4'040'000);
  EXPECT_EQ(duration_of(4000), 4000);
  EXPECT_EQ(duration_of(980), 1000);
  EXPECT_EQ(context_->duration, 3'000'000) << "other streams are longer";
  video_.codecpar->codec_id = AV_CODEC_ID_MPEG2VIDEO;
  EXPECT_EQ(duration_of(3980), 3980);
}

TEST_F(TimingTest, FramesAreCountedByTheContainer) {
  video_.nb_frames = 10;
  EXPECT_EQ(FrameCount(video_, 0, 1, 25), 10u);
}

TEST_F(TimingTest, ACountThatNoClipCanHoldIsNotBelieved) {
  video_.nb_frames = 12'800;
  EXPECT_EQ(FrameCount(video_, 0, 1, 25), 25u);
}

TEST_F(TimingTest, FragmentsAreCountedByTheIndexAndTheClock) {
  video_.nb_frames = 5;
  EXPECT_EQ(FrameCount(video_, 30, 1, 25), 30u);
  EXPECT_EQ(FrameCount(video_, 10, 1, 25), 25u) << "an index that stops before the last fragment";
}

TEST_F(TimingTest, FramesAreEstimatedAndNeverNone) {
  av_dict_set(&video_.metadata, "NUMBER_OF_FRAMES", "42", 0);
  EXPECT_EQ(FrameCount(video_, 0, 1, 25), 42u);
  av_dict_set(&video_.metadata, "NUMBER_OF_FRAMES", nullptr, 0);
  EXPECT_EQ(FrameCount(video_, 0, 2, 29.97), 60u);
  EXPECT_EQ(FrameCount(video_, 0, 0, 0), 1u);
  EXPECT_EQ(FrameCount(video_, 0, 1e12, 1e6), UINT32_MAX);
}

}  // namespace
}  // namespace media_server::probe
