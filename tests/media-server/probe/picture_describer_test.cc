#include "media-server/probe/picture_describer.h"

#include <gtest/gtest.h>

#include <cstring>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"
#include "mediainfo/ivideo_info.h"

namespace media_server::probe {
namespace {

class PictureDescriberTest : public testing::Test {
 protected:
  PictureDescriberTest() {
    codec_.codec_type = AVMEDIA_TYPE_VIDEO;
    codec_.codec_id = AV_CODEC_ID_H264;
    codec_.width = 720;
    codec_.height = 576;
    stream_.avg_frame_rate = {25, 1};
    description_.duration = 2;
  }

  const PictureFormat& Describe() {
    DescribePicture(stream_, facts_, description_);
    return description_.picture;
  }

  FormatContextHandle context_{avformat_alloc_context()};
  AVStream& stream_ = *avformat_new_stream(context_.get(), nullptr);
  AVCodecParameters& codec_ = *stream_.codecpar;
  PictureFacts facts_;
  StreamDescription description_;
};

TEST_F(PictureDescriberTest, TakesTheContainersFactsWhereTheHeaderTellsNone) {
  codec_.color_primaries = AVCOL_PRI_BT470BG;
  codec_.color_trc = AVCOL_TRC_GAMMA28;
  codec_.color_space = AVCOL_SPC_BT470BG;
  codec_.color_range = AVCOL_RANGE_JPEG;
  codec_.profile = 77;
  codec_.level = 30;
  const PictureFormat& picture = Describe();
  EXPECT_EQ(picture.width, 720u);
  EXPECT_EQ(picture.height, 576u);
  EXPECT_EQ(picture.frame_rate, 25);
  EXPECT_EQ(picture.frame_count, 50u);
  EXPECT_EQ(picture.color_primaries, 5);
  EXPECT_EQ(description_.properties.transfer_characteristics, 5);
  EXPECT_EQ(description_.properties.matrix_coefficients, 5);
  EXPECT_EQ(picture.color_range, 2);
  EXPECT_EQ(description_.profile, 77);
  EXPECT_EQ(picture.level, 30);
}

TEST_F(PictureDescriberTest, TheCodecsHeaderWinsForSizesAndColours) {
  codec_.color_primaries = AVCOL_PRI_BT470BG;
  codec_.profile = 77;
  codec_.level = 30;
  auto& header = facts_.header.parameters;
  header.width = 704;
  header.height = 480;
  header.color.primaries = 1;
  header.color.full_range = false;
  header.profile = 100;
  header.level = 41;
  header.bit_depth = 10;
  header.chroma_sampling = 422;
  const PictureFormat& picture = Describe();
  EXPECT_EQ(picture.width, 704u);
  EXPECT_EQ(picture.height, 480u);
  EXPECT_EQ(picture.color_primaries, 1);
  EXPECT_EQ(picture.color_range, 1);
  EXPECT_EQ(description_.profile, 100);
  EXPECT_EQ(picture.level, 41);
  EXPECT_EQ(picture.bit_depth, 10);
  EXPECT_EQ(picture.chroma, 422);
}

TEST_F(PictureDescriberTest, APictureHasASizeOrNone) {
  codec_.height = 0;
  EXPECT_EQ(Describe().width, 0u);
  EXPECT_EQ(Describe().display_width, 0);
  codec_.width = 0;
  codec_.height = 576;
  EXPECT_EQ(Describe().height, 0u);
  EXPECT_EQ(Describe().display_height, 0);
}

TEST_F(PictureDescriberTest, TheContainersAspectRatioWins) {
  facts_.header.parameters.sample_aspect_ratio = core::Rational{12, 11};
  EXPECT_EQ(Describe().display_width, 785);
  stream_.sample_aspect_ratio = {16, 15};
  EXPECT_EQ(Describe().display_width, 768);
  EXPECT_EQ(Describe().display_height, 576);
}

TEST_F(PictureDescriberTest, AnAspectOfTheWholePictureHoldsForTheShownLines) {
  codec_.width = 1920;
  codec_.height = 1088;
  stream_.sample_aspect_ratio = {136, 135};  // of 16:9 and the stored size
  facts_.header.parameters.width = 1920;
  facts_.header.parameters.height = 1080;
  facts_.aspect_is_of_display = true;
  EXPECT_EQ(Describe().display_width, 1920);
  EXPECT_EQ(Describe().display_height, 1080);
  codec_.width = codec_.height = 0;
  EXPECT_EQ(Describe().display_width, 1934) << "what was stored is not known";
  facts_.header.parameters.width = 0;
  EXPECT_EQ(Describe().display_width, 0);
}

TEST_F(PictureDescriberTest, IgnoresColourNumbersThatMeanNothing) {
  const int noise = 206;  // as libavformat stores a byte of the file
  std::memcpy(&codec_.color_primaries, &noise, sizeof noise);
  std::memcpy(&codec_.color_trc, &noise, sizeof noise);
  std::memcpy(&codec_.color_space, &noise, sizeof noise);
  std::memcpy(&codec_.color_range, &noise, sizeof noise);
  const PictureFormat& picture = Describe();
  EXPECT_EQ(picture.color_primaries, 0);
  EXPECT_EQ(picture.color_range, 0);
  EXPECT_EQ(description_.properties.transfer_characteristics, std::nullopt);
  EXPECT_EQ(description_.properties.matrix_coefficients, std::nullopt);
}

TEST_F(PictureDescriberTest, APreferredTransferStandsInForOneThatTheHeaderLeavesOut) {
  facts_.header.sei.preferred_transfer = 18;
  Describe();
  EXPECT_EQ(description_.properties.transfer_characteristics, 18);
  facts_.header.parameters.color.transfer = 14;
  Describe();
  EXPECT_EQ(description_.properties.transfer_characteristics, 14);
}

TEST_F(PictureDescriberTest, UnspecifiedColoursAreNotTold) {
  Describe();  // libavformat's own default is "unspecified"
  EXPECT_EQ(description_.picture.color_primaries, 0);
  EXPECT_EQ(description_.properties.transfer_characteristics, std::nullopt);
  EXPECT_EQ(description_.properties.matrix_coefficients, std::nullopt);
  codec_.color_space = AVCOL_SPC_RGB;
  Describe();
  EXPECT_EQ(description_.properties.matrix_coefficients, 0) << "that of RGB has the number 0";
}

struct Order {
  AVFieldOrder container;
  std::int32_t told;
  bool interlaced;
};

class FieldOrderTest : public PictureDescriberTest, public testing::WithParamInterface<Order> {};

TEST_P(FieldOrderTest, IsTheOrderOfDisplay) {
  codec_.field_order = GetParam().container;
  const PictureFormat& picture = Describe();
  EXPECT_EQ(picture.field_order, GetParam().told);
  EXPECT_EQ((picture.flags & service::mediainfo::kVideoInterlaced) != 0, GetParam().interlaced);
}

INSTANTIATE_TEST_SUITE_P(Orders, FieldOrderTest,
                         testing::Values(Order{AV_FIELD_UNKNOWN, 0, false}, Order{AV_FIELD_PROGRESSIVE, 1, false},
                                         Order{AV_FIELD_TT, 2, true}, Order{AV_FIELD_BT, 2, true},
                                         Order{AV_FIELD_BB, 3, true}, Order{AV_FIELD_TB, 3, true}));

TEST_F(PictureDescriberTest, ReadsDepthAndChromaOffAPixelFormat) {
  const struct {
    AVPixelFormat format;
    int chroma;
    int depth;
    int alpha;
  } kFormats[] = {
      {AV_PIX_FMT_YUV420P, 420, 8, 0}, {AV_PIX_FMT_YUV422P10LE, 422, 10, 0}, {AV_PIX_FMT_YUVA444P12LE, 444, 12, 1},
      {AV_PIX_FMT_GRAY8, 400, 8, 0},   {AV_PIX_FMT_GBRP, 1, 8, 0},           {AV_PIX_FMT_YUV411P, 411, 8, 0},
      {AV_PIX_FMT_YUV410P, 410, 8, 0}, {AV_PIX_FMT_YUV440P, 440, 8, 0}};
  for (const auto& [format, chroma, depth, alpha] : kFormats) {
    codec_.format = format;
    const PictureFormat& picture = Describe();
    EXPECT_EQ(picture.chroma, chroma);
    EXPECT_EQ(picture.bit_depth, depth);
    EXPECT_EQ(description_.properties.alpha_channel, alpha);
  }
}

TEST_F(PictureDescriberTest, KnowsWhatACodecAlwaysIs) {
  codec_.codec_id = AV_CODEC_ID_VP8;
  EXPECT_EQ(Describe().chroma, 420);
  EXPECT_EQ(Describe().bit_depth, 8);
  codec_.codec_id = AV_CODEC_ID_MPEG4;
  EXPECT_EQ(Describe().chroma, 420);
  facts_.header.parameters.profile = AV_PROFILE_MPEG4_SIMPLE_STUDIO;
  EXPECT_EQ(Describe().chroma, 0);
  facts_.header = {};
  codec_.codec_id = AV_CODEC_ID_V210;
  EXPECT_EQ(Describe().chroma, 422);
  EXPECT_EQ(Describe().bit_depth, 10);
  codec_.codec_id = AV_CODEC_ID_SVQ1;
  EXPECT_EQ(Describe().chroma, 410);
  EXPECT_EQ(Describe().bit_depth, 8);
  codec_.codec_id = AV_CODEC_ID_Y41P;
  EXPECT_EQ(Describe().chroma, 411);
  codec_.codec_id = AV_CODEC_ID_ASV1;
  EXPECT_EQ(Describe().chroma, 420);
  codec_.codec_id = AV_CODEC_ID_AVRP;
  EXPECT_EQ(Describe().bit_depth, 10);
  EXPECT_EQ(description_.properties.alpha_channel, 0);
  codec_.codec_id = AV_CODEC_ID_V408;
  EXPECT_EQ(Describe().chroma, 444);
  EXPECT_EQ(description_.properties.alpha_channel, 1);
  codec_.codec_id = AV_CODEC_ID_CINEPAK;
  EXPECT_EQ(Describe().chroma, codec::kChromaRgb);
  EXPECT_EQ(Describe().bit_depth, 8);
  codec_.bits_per_coded_sample = 8;
  EXPECT_EQ(Describe().chroma, 0) << "numbers of colours";
  EXPECT_EQ(Describe().bit_depth, 0);
}

TEST_F(PictureDescriberTest, TellsHighDynamicRangeFromAnyOfItsMarks) {
  constexpr std::uint32_t kHdr = service::mediainfo::kVideoHighDynamicRange;
  EXPECT_EQ(Describe().flags & kHdr, 0u);
  codec_.color_trc = AVCOL_TRC_ARIB_STD_B67;
  EXPECT_EQ(Describe().flags & kHdr, kHdr);
  codec_.color_trc = AVCOL_TRC_BT709;
  facts_.header.sei.preferred_transfer = 18;
  EXPECT_EQ(Describe().flags & kHdr, kHdr);
  facts_.header.sei = {.mastering_display = true};
  EXPECT_EQ(Describe().flags & kHdr, kHdr);
}

TEST_F(PictureDescriberTest, TellsTheTracksFacts) {
  facts_.track = {.encrypted = true,
                  .max_frame_rate = 50,
                  .constant_frame_rate = false,
                  .clean_aperture = TrackFacts::CleanAperture{700, 570, 1, -2}};
  facts_.file_is_truncated = true;
  facts_.gop = "M=3, N=12";
  EXPECT_EQ(Describe().flags, service::mediainfo::kVideoEncrypted | service::mediainfo::kVideoVariableFrameRate);
  EXPECT_EQ(description_.properties.max_frame_rate, 50);
  EXPECT_EQ(description_.properties.clean_aperture_width, 700);
  EXPECT_EQ(description_.properties.clean_aperture_height, 570);
  EXPECT_EQ(description_.properties.clean_aperture_xoff, 1);
  EXPECT_EQ(description_.properties.clean_aperture_yoff, -2);
  EXPECT_EQ(description_.properties.is_truncated, 1);
  EXPECT_EQ(description_.properties.format_settings_gop, "M=3, N=12");
}

TEST_F(PictureDescriberTest, ProfileTextTakesTheContainersNumbersForMissingOnes) {
  facts_.header.profiled_codec = codec::ProfiledCodec::kH264;
  facts_.header.parameters.profile = 100;
  codec_.level = 41;
  Describe();
  EXPECT_EQ(description_.properties.format_profile, "High@L4.1");
}

TEST_F(PictureDescriberTest, AStreamWithoutAClockIsTimedByItsPictures) {
  facts_.timing = PictureTiming{.frame_rate = 29.97, .frame_count = 419, .duration = 13.98};
  const PictureFormat& picture = Describe();
  EXPECT_EQ(picture.frame_rate, 29.97);
  EXPECT_EQ(picture.frame_count, 419u);
}

TEST_F(PictureDescriberTest, PicturesOfAnUnknownRateCountAsOne) {
  stream_.avg_frame_rate = {0, 0};
  EXPECT_EQ(Describe().frame_rate, 0);
  EXPECT_EQ(Describe().frame_count, 1u);
}

}  // namespace
}  // namespace media_server::probe
