#include "media-server/container/mpeg_audio_header.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace media_server {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(MpegAudioHeaderTest, ReadsWhatAFrameTells) {
  const auto stereo = ReadMpegAudioHeader(Bytes{0xFF, 0xFB, 0x90, 0x64});  // MPEG-1 layer III, 128 kbit/s, joint stereo
  ASSERT_TRUE(stereo);
  EXPECT_EQ(stereo->layer, 3);
  EXPECT_EQ(stereo->sample_rate_hz, 44'100u);
  EXPECT_EQ(stereo->channels, 2u);
  EXPECT_EQ(stereo->bit_rate, 128'000u);
  EXPECT_EQ(stereo->size_bytes, 417u);
  const auto mono = ReadMpegAudioHeader(Bytes{0xFF, 0xFD, 0xE4, 0xC4});  // MPEG-1 layer II, 384 kbit/s
  ASSERT_TRUE(mono);
  EXPECT_EQ(mono->layer, 2);
  EXPECT_EQ(mono->sample_rate_hz, 48'000u);
  EXPECT_EQ(mono->channels, 1u);
  EXPECT_EQ(mono->bit_rate, 384'000u);
  EXPECT_EQ(mono->size_bytes, 1152u);
}

TEST(MpegAudioHeaderTest, HalvesTheRatesOfLaterVersions) {
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xF3, 0x90, 0x64})->sample_rate_hz, 22'050u);  // MPEG-2
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xE3, 0x90, 0x64})->sample_rate_hz, 11'025u);  // MPEG-2.5
}

TEST(MpegAudioHeaderTest, TellsHowManySamplesAFrameHas) {
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xFF, 0x90, 0x64})->samples, 384u);    // layer I
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xFD, 0x90, 0x64})->samples, 1'152u);  // layer II
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xF5, 0x90, 0x64})->samples, 1'152u);  // of MPEG-2
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xFB, 0x90, 0x64})->samples, 1'152u);  // layer III
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xF3, 0x90, 0x64})->samples, 576u);    // of MPEG-2
}

TEST(MpegAudioHeaderTest, CountsTwoChannelsOfDualSound) {
  EXPECT_EQ(ReadMpegAudioHeader(Bytes{0xFF, 0xFB, 0x90, 0x84})->channels, 2u);
}

TEST(MpegAudioHeaderTest, RefusesWhatNoFrameBeginsWith) {
  for (const Bytes& bytes : {Bytes{}, Bytes{0xFF, 0xFB, 0x90}, Bytes{0xFF, 0xDB, 0x90, 0x64},  // no sync word
                             Bytes{0xFF, 0xEB, 0x90, 0x64},                                    // reserved version
                             Bytes{0xFF, 0xF9, 0x90, 0x64},                                    // reserved layer
                             Bytes{0xFF, 0xFB, 0x00, 0x64}, Bytes{0xFF, 0xFB, 0xF0, 0x64},     // free, forbidden
                             Bytes{0xFF, 0xFB, 0x9C, 0x64},                                    // reserved rate
                             Bytes{0xFF, 0xFB, 0x90, 0x66}}) {                                 // reserved emphasis
    EXPECT_FALSE(ReadMpegAudioHeader(bytes));
  }
}

}  // namespace
}  // namespace media_server
