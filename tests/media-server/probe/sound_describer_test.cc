#include "media-server/probe/sound_describer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"
#include "mediainfo/iaudio_info.h"
#include "tests/media-server/codec/bit_writer.h"

namespace media_server::probe {
namespace {

using service::mediainfo::kAudioLossless;

void ExpectSound(const SoundFormat& sound, std::uint32_t sample_rate, std::uint32_t channels, std::uint32_t bits) {
  EXPECT_EQ(sound.sample_rate, sample_rate);
  EXPECT_EQ(sound.channels, channels);
  EXPECT_EQ(sound.bits_per_sample, bits);
}

class SoundDescriberTest : public testing::Test {
 protected:
  SoundDescriberTest() {
    codec_.codec_type = AVMEDIA_TYPE_AUDIO;
    codec_.sample_rate = 44'100;
    codec_.bits_per_coded_sample = 16;
    av_channel_layout_default(&codec_.ch_layout, 1);
  }

  void SetHeader(const char* hexadecimal) {
    const auto bytes = codec::Hex(hexadecimal);
    codec_.extradata = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    codec_.extradata_size = static_cast<int>(bytes.size());
    std::ranges::copy(bytes, codec_.extradata);
  }

  const SoundFormat& Describe(AVCodecID codec) {
    codec_.codec_id = codec;
    DescribeSound(stream_, track_, description_);
    return description_.sound;
  }

  FormatContextHandle context_{avformat_alloc_context()};
  AVStream& stream_ = *avformat_new_stream(context_.get(), nullptr);
  AVCodecParameters& codec_ = *stream_.codecpar;
  TrackFacts track_;
  StreamDescription description_;
};

TEST_F(SoundDescriberTest, TakesTheContainersFactsWhereThereIsNoHeader) {
  ExpectSound(Describe(AV_CODEC_ID_ALAC), 44'100u, 1u, 16u);
}

TEST_F(SoundDescriberTest, TheHeaderOfAlacWinsOverFieldsThatWritersLeaveAlone) {
  SetHeader("00000024 616c6163 00000000 00001000 00 18 280a0e 02 00ff 00000000 00000000 00017700");
  ExpectSound(Describe(AV_CODEC_ID_ALAC), 96'000u, 2u, 24u);
}

TEST_F(SoundDescriberTest, TheHeaderOfFlacTellsRatesThatTheContainerHasNoRoomFor) {
  SetHeader("1000 1000 000000 000000 17700371 00000000 00000000000000000000000000000000");
  ExpectSound(Describe(AV_CODEC_ID_FLAC), 96'000u, 2u, 24u);
}

TEST_F(SoundDescriberTest, OpusHasTheChannelsOfItsHeaderAndItsOwnRate) {
  SetHeader("4f70757348656164 01 06 3801 44ac0000 0000 01");
  const SoundFormat& sound = Describe(AV_CODEC_ID_OPUS);
  EXPECT_EQ(sound.sample_rate, 48'000u);
  EXPECT_EQ(sound.channels, 6u);
}

TEST_F(SoundDescriberTest, ParametricStereoOfOneChannelIsTwo) {
  SetHeader("eb098800");
  EXPECT_EQ(Describe(AV_CODEC_ID_AAC).channels, 2u);
  EXPECT_EQ(description_.profile, 28);
}

TEST_F(SoundDescriberTest, ACodecThatCanBeBothIsLosslessWhereTheTrackSaysSo) {
  Describe(AV_CODEC_ID_WAVPACK);
  EXPECT_EQ(description_.sound.flags & kAudioLossless, 0u);
  track_.lossless = true;
  ExpectSound(Describe(AV_CODEC_ID_WAVPACK), 44'100u, 1u, 16u);
  EXPECT_NE(std::exchange(description_.sound, {}).flags & kAudioLossless, 0u);
  Describe(AV_CODEC_ID_VORBIS);
  EXPECT_EQ(description_.sound.flags & kAudioLossless, 0u);
}

TEST_F(SoundDescriberTest, DtsIsLosslessInOneProfileAndHasNoDepthOfAContainer) {
  codec_.profile = AV_PROFILE_DTS;
  ExpectSound(Describe(AV_CODEC_ID_DTS), 44'100u, 1u, 0u);
  EXPECT_EQ(description_.sound.flags & kAudioLossless, 0u);
  codec_.profile = AV_PROFILE_DTS_HD_MA;
  Describe(AV_CODEC_ID_DTS);
  EXPECT_NE(description_.sound.flags & kAudioLossless, 0u);
}

TEST_F(SoundDescriberTest, AnalysisKnowsTheProfileBetter) {
  SetHeader("1190");
  EXPECT_EQ(Describe(AV_CODEC_ID_AAC).channels, 1u);
  EXPECT_EQ(description_.profile, 1);
  codec_.profile = 4;
  Describe(AV_CODEC_ID_AAC);
  EXPECT_EQ(description_.profile, 4);
}

}  // namespace
}  // namespace media_server::probe
