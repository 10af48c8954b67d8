#include "service-mediainfo/media_info/video_info_impl.h"

#include "fakes/fixture.h"
#include "fakes/media.h"

namespace service::mediainfo::media_info::impl {
namespace {

constexpr std::uint32_t kMp4 = 0x2034504D;
constexpr std::uint32_t kAmp4 = 0x34504D41;

/// Every field tells its offset.
media_server::PictureFormat Record() {
  media_server::PictureFormat record{};
  record.width = 1000;
  record.height = 1004;
  record.frame_rate = 25.0;
  record.frame_count = 1016;
  record.display_width = 1020;
  record.display_height = 1024;
  record.field_order = 1032;
  record.flags = 0b10101;
  record.chroma = 1040;
  record.bit_depth = 1044;
  record.color_primaries = 1048;
  record.color_range = 1052;
  record.bit_rate = 1056;
  record.level = 1132;
  return record;
}

class VideoInfoImplTest : public fakes::Fixture {
 protected:
  VideoInfoImplTest() { source_.four_cc = kMp4; }

  core::Rational FrameRate(double frames_per_second) {
    media_server::PictureFormat record = Record();
    record.frame_rate = frames_per_second;
    EXPECT_EQ(info_.Init(&source_, &record, 0), 0u);
    core::Rational rate;
    EXPECT_EQ(info_.GetFrameRate(&rate), 0u);
    return rate;
  }

  fakes::MediaInfo source_;
  VideoInfoImpl info_;
};

TEST_F(VideoInfoImplTest, RefusesANullRecord) {
  EXPECT_EQ(info_.Init(&source_, nullptr, 0), 7u);
  EXPECT_EQ(info_.Init(nullptr, nullptr, 0), 7u);
}

TEST_F(VideoInfoImplTest, ReportsTheRecordsFields) {
  media_server::PictureFormat record = Record();
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  record = {};  // answers come from a copy
  EXPECT_EQ(info_.GetWidth(), 1000u);
  EXPECT_EQ(info_.GetHeight(), 1004u);
  EXPECT_EQ(info_.GetFrameCount(), 1016u);
  EXPECT_EQ(info_.GetFormatField20(), 1020);
  EXPECT_EQ(info_.GetFormatField24(), 1024);
  EXPECT_EQ(info_.GetFormatField32(), 1032);
  EXPECT_EQ(info_.GetFormatCode(), 0b10101u);
  EXPECT_EQ(info_.GetFormatField40(), 1040);
  EXPECT_EQ(info_.GetFormatField44(), 1044);
  EXPECT_EQ(info_.GetFormatField48(), 1048);
  EXPECT_EQ(info_.GetFormatField52(), 1052);
  EXPECT_EQ(info_.GetFormatField56(), 1056);
  EXPECT_EQ(info_.GetFormatField132(), 1132);
}

TEST_F(VideoInfoImplTest, ReportsTheEncryptionBitAlone) {
  media_server::PictureFormat record = Record();
  record.flags = 0b10111;
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  EXPECT_EQ(info_.GetFormatFlag(), 0u);
  record.flags = 0b01000;
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  EXPECT_EQ(info_.GetFormatFlag(), 1u);
}

TEST_F(VideoInfoImplTest, HalvesTheHeightsOfAStackedAlphaSource) {
  source_.four_cc = kAmp4;
  media_server::PictureFormat record = Record();
  record.height = 2160;
  record.display_height = 2162;
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  EXPECT_EQ(info_.GetHeight(), 1080u);
  EXPECT_EQ(info_.GetFormatField24(), 1081);
  EXPECT_EQ(info_.GetWidth(), 1000u);
  EXPECT_EQ(info_.GetFormatField20(), 1020);
  EXPECT_EQ(record.height, 2160u);
}

TEST_F(VideoInfoImplTest, HalvesTowardZeroAsSignedNumbers) {
  source_.four_cc = kAmp4;
  media_server::PictureFormat record = Record();
  record.height = 1081;
  record.display_height = -3;
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  EXPECT_EQ(info_.GetHeight(), 540u);
  EXPECT_EQ(info_.GetFormatField24(), -1);

  record.height = 0xFFFFFFFD;  // -3
  ASSERT_EQ(info_.Init(&source_, &record, 0), 0u);
  EXPECT_EQ(info_.GetHeight(), 0xFFFFFFFFu);
}

struct OrientationCase {
  std::int32_t code;
  std::uint32_t rotation;
  std::uint32_t flip;
};

class VideoInfoImplOrientationTest : public VideoInfoImplTest, public testing::WithParamInterface<OrientationCase> {};

TEST_P(VideoInfoImplOrientationTest, TellsQuarterTurnsAndFlip) {
  const media_server::PictureFormat record = Record();
  ASSERT_EQ(info_.Init(&source_, &record, GetParam().code), 0u);
  EXPECT_EQ(info_.GetRotation(), GetParam().rotation);
  EXPECT_EQ(info_.GetFlip(), GetParam().flip);
}

INSTANTIATE_TEST_SUITE_P(Codes, VideoInfoImplOrientationTest,
                         testing::Values(OrientationCase{0, 0, 0}, OrientationCase{90, 1, 0},
                                         OrientationCase{180, 2, 0}, OrientationCase{270, 3, 0},
                                         OrientationCase{-100, 0, 1}, OrientationCase{-200, 0, 2},
                                         OrientationCase{-300, 2, 3}, OrientationCase{45, 0, 0},
                                         OrientationCase{-90, 0, 0}, OrientationCase{360, 0, 0}));

TEST_F(VideoInfoImplTest, ReducesTheFrameRate) {
  EXPECT_EQ(FrameRate(29.97), (core::Rational{2997, 100}));
  EXPECT_EQ(FrameRate(25.0), (core::Rational{25, 1}));
  EXPECT_EQ(FrameRate(23.976), (core::Rational{2997, 125}));
}

TEST_F(VideoInfoImplTest, AnswersOneForAnUnknownFrameRate) {
  EXPECT_EQ(FrameRate(0.0), (core::Rational{1, 1}));
  EXPECT_EQ(FrameRate(-25.0), (core::Rational{1, 1}));
}

TEST_F(VideoInfoImplTest, LogsAFrameRateBelowOneStep) {
  EXPECT_EQ(FrameRate(0.0005), (core::Rational{0, 1000}));
  EXPECT_EQ(fakes::TakeLog(), (std::vector<fakes::LogLine>{{"core", 7, "ration den zero! file[%s] line[%d]",
                                                            "ration den zero! file[core::Normalize] line[99]"}}));
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
