#include "media-server/codec/sound_configuration.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

constexpr std::uint32_t k24kHz = 6;
constexpr std::uint32_t k48kHz = 3;

BitWriter Aac(std::uint32_t object_type, std::uint32_t rate, std::uint32_t channels) {
  BitWriter writer;
  if (object_type < 31) {
    writer.Bits(object_type, 5);
  } else {
    writer.Bits(31, 5).Bits(object_type - 32, 6);
  }
  return writer.Bits(rate, 4).Bits(channels, 4);
}

/// The plain configuration's three flags, then band replication.
BitWriter WithBandReplication(std::uint32_t channels) {
  return Aac(2, k24kHz, channels).Bits(0, 3).Bits(0x2B7, 11).Bits(5, 5).Bits(1, 1).Bits(k48kHz, 4);
}

TEST(SoundConfiguration, AacProfileIsTheObjectTypeLessOne) {
  EXPECT_EQ(ReadAacConfiguration(Aac(2, k48kHz, 2).Bits(0, 3).Bytes()).profile, 1);
  EXPECT_EQ(ReadAacConfiguration(Aac(1, k48kHz, 2).Bits(0, 3).Bytes()).profile, 0);
  EXPECT_EQ(ReadAacConfiguration(Aac(23, k48kHz, 2).Bits(0, 3).Bytes()).profile, 22);
}

TEST(SoundConfiguration, AacEscapesToObjectTypesFrom32On) {
  EXPECT_EQ(ReadAacConfiguration(Aac(39, k48kHz, 2).Bytes()).profile, 38);
  EXPECT_EQ(ReadAacConfiguration(Aac(42, k48kHz, 2).Bytes()).profile, 41);
}

TEST(SoundConfiguration, AacBandReplicationInFrontOrBehind) {
  const auto in_front = ReadAacConfiguration(Aac(5, k24kHz, 2).Bits(k48kHz, 4).Bits(2, 5).Bits(0, 3).Bytes());
  EXPECT_EQ(in_front.profile, 4);
  EXPECT_FALSE(in_front.channels);
  const auto behind = ReadAacConfiguration(WithBandReplication(2).Bytes());
  EXPECT_EQ(behind.profile, 4);
  EXPECT_FALSE(behind.channels);
}

TEST(SoundConfiguration, AacParametricStereoMakesTwoChannelsOfOne) {
  const auto in_front = ReadAacConfiguration(Aac(29, k24kHz, 1).Bits(k48kHz, 4).Bits(2, 5).Bits(0, 3).Bytes());
  EXPECT_EQ(in_front.profile, 28);
  EXPECT_EQ(in_front.channels, 2u);
  const auto behind = ReadAacConfiguration(WithBandReplication(1).Bits(0x548, 11).Bits(1, 1).Bytes());
  EXPECT_EQ(behind.profile, 28);
  EXPECT_EQ(behind.channels, 2u);
  const auto absent = ReadAacConfiguration(WithBandReplication(1).Bits(0x548, 11).Bits(0, 1).Bytes());
  EXPECT_EQ(absent.profile, 4);
  EXPECT_FALSE(absent.channels);
}

TEST(SoundConfiguration, AacBandReplicationThatIsToldToBeAbsent) {
  const auto told =
      ReadAacConfiguration(Aac(2, k48kHz, 2).Bits(0, 3).Bits(0x2B7, 11).Bits(5, 5).Bits(0, 1).Bits(0, 12).Bytes());
  EXPECT_EQ(told.profile, 1);
}

TEST(SoundConfiguration, AacRatesAndDelaysOfTheirOwnStandInBetween) {
  BitWriter writer;
  writer.Bits(2, 5).Bits(15, 4).Bits(23000, 24).Bits(2, 4);
  writer.Bits(0b01, 2).Bits(100, 14).Bits(0, 1);
  writer.Bits(0x2B7, 11).Bits(5, 5).Bits(1, 1).Bits(15, 4).Bits(46000, 24);
  EXPECT_EQ(ReadAacConfiguration(writer.Bytes()).profile, 4);
}

TEST(SoundConfiguration, AacBandReplicationBehindChannelsToldOneByOne) {
  const auto with = [](const char* extension) {
    // Eight channels as FFmpeg tells them: three pairs, a single one in front and one behind, a comment of 13 letters.
    auto bytes = Hex("1200 050848002008c820 0d 4c61766335392e33372e313030");
    const auto more = Hex(extension);
    bytes.insert(bytes.end(), more.begin(), more.end());
    return ReadAacConfiguration(bytes).profile;
  };
  EXPECT_EQ(with("56e500"), 1);
  EXPECT_EQ(with("56e598"), 4);
  EXPECT_EQ(with(""), 1);
}

TEST(SoundConfiguration, AacThatEndsEarlyTellsNothing) {
  EXPECT_FALSE(ReadAacConfiguration({}).profile);
  EXPECT_FALSE(ReadAacConfiguration(Hex("11")).profile);
  EXPECT_FALSE(ReadAacConfiguration(Hex("0000")).profile);
}

TEST(SoundConfiguration, AlacTellsRateChannelsAndDepth) {
  const auto bytes = Hex("00000024 616c6163 00000000 00001000 00 18 280a0e 02 00ff 00000000 00000000 0002ee00");
  const SoundConfiguration told = ReadAlacConfiguration(bytes);
  EXPECT_EQ(told.bits_per_sample, 24u);
  EXPECT_EQ(told.channels, 2u);
  EXPECT_EQ(told.sample_rate_hz, 192000u);
  EXPECT_FALSE(ReadAlacConfiguration(std::span(bytes).first(35)).bits_per_sample);
}

TEST(SoundConfiguration, FlacTellsRateChannelsAndDepth) {
  BitWriter info;
  info.Bits(4096, 16).Bits(4096, 16).Bits(0, 48);
  info.Bits(96000, 20).Bits(5, 3).Bits(23, 5).Bits(0, 36);
  info.Bits(0, 64).Bits(0, 64);  // digest
  ASSERT_EQ(info.Bytes().size(), 34u);
  auto marked = Hex("664c6143 80000022");
  marked.insert(marked.end(), info.Bytes().begin(), info.Bytes().end());
  for (const auto& bytes : {info.Bytes(), marked}) {
    const SoundConfiguration told = ReadFlacConfiguration(bytes);
    EXPECT_EQ(told.sample_rate_hz, 96000u);
    EXPECT_EQ(told.channels, 6u);
    EXPECT_EQ(told.bits_per_sample, 24u);
  }
  EXPECT_FALSE(ReadFlacConfiguration(std::span(info.Bytes()).first(33)).channels);
}

TEST(SoundConfiguration, OpusTellsItsChannels) {
  const auto head = Hex("4f70757348656164 01 06 3801 80bb0000 0000 01");
  EXPECT_EQ(ReadOpusConfiguration(head).channels, 6u);
  EXPECT_FALSE(ReadOpusConfiguration(std::span(head).first(9)).channels);
}

}  // namespace
}  // namespace media_server::codec
