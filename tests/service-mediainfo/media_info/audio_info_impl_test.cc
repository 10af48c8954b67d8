#include "service-mediainfo/media_info/audio_info_impl.h"

#include <gtest/gtest.h>

#include <optional>

namespace service::mediainfo::media_info::impl {
namespace {

/// Every field tells its offset.
constexpr media_server::SoundFormat kRecord{1000, 1004, 1008, 1012, 44100.0, 0b0101, 1028};

TEST(AudioInfoImplTest, RefusesANullRecord) {
  AudioInfoImpl info;
  EXPECT_EQ(info.Init(nullptr), 7u);
}

TEST(AudioInfoImplTest, ReportsTheRecordsFields) {
  AudioInfoImpl info;
  ASSERT_EQ(info.Init(&kRecord), 0u);
  EXPECT_EQ(info.GetAudioField0(), 1000u);
  EXPECT_EQ(info.GetAudioField4(), 1004u);
  EXPECT_EQ(info.GetAudioField12(), 1012u);
  EXPECT_EQ(info.GetAudioField8(), 1008u);
  EXPECT_EQ(info.GetAudioFormatCode(), 0b0101u);
  EXPECT_EQ(info.Reserved3(), 0u);
}

TEST(AudioInfoImplTest, AddsAHundredMillionthToTheRate) {
  AudioInfoImpl info;
  ASSERT_EQ(info.Init(&kRecord), 0u);
  EXPECT_EQ(info.GetAudioValue(), 44100.00000001);
  EXPECT_NE(info.GetAudioValue(), 44100.0);
}

TEST(AudioInfoImplTest, ReportsTheEncryptionBitAlone) {
  media_server::SoundFormat record = kRecord;
  AudioInfoImpl info;
  record.flags = 0b0111;
  ASSERT_EQ(info.Init(&record), 0u);
  EXPECT_EQ(info.GetAudioFormatFlag(), 0u);
  record.flags = 0b1000;
  ASSERT_EQ(info.Init(&record), 0u);
  EXPECT_EQ(info.GetAudioFormatFlag(), 1u);
}

TEST(AudioInfoImplTest, KeepsACopyOfTheRecord) {
  std::optional<media_server::SoundFormat> record = kRecord;
  AudioInfoImpl info;
  ASSERT_EQ(info.Init(&*record), 0u);
  record->sample_rate = 1;
  record.reset();
  EXPECT_EQ(info.GetAudioField0(), 1000u);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
