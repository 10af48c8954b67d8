#include "media-server/codec/hevc.h"

#include <gtest/gtest.h>

#include "media-server/codec/nal.h"
#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

/// hvcC of a 426x240 picture in 10 bits, as x265 writes it, with HDR10 metadata.
const auto kHvcc = Hex(
    "01 02 20000000 900000000000 3c f000 fc fd fa fa 0000 0f"  // Main 10, level 2, 4:2:0, 10 bits, four length bytes
    "04"                                                       // arrays
    "20 0001 0018 40010c01ffff02200000030090000003000003003c959409"
    "21 0001 002c 42010102200000030090000003000003003ca00d880f1c9b6595952930bc11b84880482000007d20000ea601"
    "22 0001 0006 4401c073c189"
    "27 0002 0009 4e01900403e8019080"                                             // content light level
    "       001e 4e01891833c286c41d4c0bb884d03e803d13404200989680000003000180");  // mastering display

/// 322x242 in 4:4:4 with scaling lists on, default coefficients.
const char* const kSps444 =
    "42010104080000 03009e080000 03 00003c9001510080e3e3f2caca949c2f016808000003000800000300c840";

/// Parameter sets are composed in samples of one NAL unit with a two byte length.
std::vector<std::uint8_t> Sample(unsigned type, const std::vector<std::uint8_t>& payload, unsigned layer = 0) {
  const std::size_t size = payload.size() + 2;
  std::vector<std::uint8_t> sample = {static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size),
                                      static_cast<std::uint8_t>(type << 1 | layer >> 5),
                                      static_cast<std::uint8_t>((layer & 31) << 3 | 1)};
  sample.insert(sample.end(), payload.begin(), payload.end());
  return sample;
}

BitWriter& ProfileTierLevel(BitWriter& bits, unsigned profile, bool high_tier, unsigned source_flags) {
  bits.Bits(0, 2).Bits(high_tier, 1).Bits(profile, 5).Bits(0x60000000, 32);  // compatible with profiles 1 and 2
  return bits.Bits(source_flags, 2).Bits(0, 46).Bits(120, 8);
}

struct Sps {
  unsigned profile = 1;
  bool high_tier = false;
  unsigned source_flags = 0;  // progressive, interlaced
  unsigned chroma = 1;
  unsigned width = 1920;
  unsigned height = 1088;
  unsigned crop_right = 0;
  unsigned crop_bottom = 4;
  unsigned depth_above_8 = 0;
  unsigned buffering = 5;
};

/// Everything up to the ordering information, with two sub-layers of which the lower tells profile and level.
BitWriter Compose(const Sps& sps) {
  BitWriter bits;
  bits.Bits(0, 4).Bits(1, 3).Bits(1, 1);
  ProfileTierLevel(bits, sps.profile, sps.high_tier, sps.source_flags);
  bits.Bits(0b11, 2).Bits(0, 14).Bits(0, 48).Bits(0, 40).Bits(90, 8);
  bits.Ue(0).Ue(sps.chroma);
  if (sps.chroma == 3) bits.Bits(0, 1);
  bits.Ue(sps.width).Ue(sps.height).Bits(1, 1).Ue(0).Ue(sps.crop_right).Ue(0).Ue(sps.crop_bottom);
  bits.Ue(sps.depth_above_8).Ue(sps.depth_above_8).Ue(4);
  bits.Bits(1, 1);                                // sub_layer_ordering_info_present_flag
  bits.Ue(0).Ue(0).Ue(0);                         // lower sub-layer
  return bits.Ue(sps.buffering - 1).Ue(2).Ue(0);  // higher sub-layer
}

/// What the units of a sample tell where they stand behind start codes.
std::optional<PictureParameters> ReadSets(std::span<const std::uint8_t> sample) {
  std::vector<std::uint8_t> extradata;
  NalReader nals(sample, 2);
  for (auto nal = nals.Next(); !nal.empty(); nal = nals.Next()) {
    extradata.insert(extradata.end(), {0, 0, 1});
    extradata.insert(extradata.end(), nal.begin(), nal.end());
  }
  const auto configuration = ReadHevcConfiguration(extradata);
  return configuration ? std::optional(configuration->picture) : std::nullopt;
}

/// With the bytes in between that keep a payload from holding a start code.
std::vector<std::uint8_t> Escaped(const std::vector<std::uint8_t>& payload) {
  std::vector<std::uint8_t> escaped;
  int zeros = 0;
  for (const std::uint8_t byte : payload) {
    if (zeros >= 2 && byte <= 3) {
      escaped.push_back(3);
      zeros = 0;
    }
    escaped.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return escaped;
}

std::optional<PictureParameters> Read(const Sps& sps) { return ReadSets(Sample(33, Escaped(Compose(sps).Bytes()))); }

TEST(Hevc, ReadsAnHevcConfigurationRecord) {
  const auto configuration = ReadHevcConfiguration(kHvcc);
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, 4);
  const PictureParameters& picture = configuration->picture;
  EXPECT_EQ(picture.profile, 2);
  EXPECT_EQ(picture.level, 60);
  EXPECT_EQ(picture.high_tier, false);
  EXPECT_EQ(picture.width, 426U);
  EXPECT_EQ(picture.height, 240U);
  EXPECT_EQ(picture.sample_aspect_ratio, (Rational{16, 11}));
  EXPECT_EQ(picture.bit_depth, 10);
  EXPECT_EQ(picture.chroma_sampling, 420);
  EXPECT_EQ(picture.color, (ColorDescription{9, 16, 9, true}));
  EXPECT_EQ(picture.reference_frames, 5);
  EXPECT_EQ(picture.progressive_only, true);
  EXPECT_EQ(picture.frame_rate, (Rational{30000, 1001}));
  EXPECT_EQ(picture.views, std::nullopt);
  EXPECT_EQ(picture.alpha, std::nullopt);
  EXPECT_EQ(picture.cabac, std::nullopt);
}

TEST(Hevc, FindsHdrMetadataInTheRecord) {
  const auto configuration = ReadHevcConfiguration(kHvcc);
  ASSERT_TRUE(configuration);
  EXPECT_TRUE(configuration->sei.mastering_display);
  EXPECT_EQ(configuration->sei.preferred_transfer, std::nullopt);
}

TEST(Hevc, KeepsTheFieldsOfARecordWithoutParameterSets) {
  const auto configuration = ReadHevcConfiguration(Hex("01 22 20000000 900000000000 99 f000 fc fe fa fa 0000 0d 00"));
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, 2);
  EXPECT_EQ(configuration->picture.profile, 2);
  EXPECT_EQ(configuration->picture.level, 153);
  EXPECT_EQ(configuration->picture.high_tier, true);
  EXPECT_EQ(configuration->picture.chroma_sampling, 422);
  EXPECT_EQ(configuration->picture.bit_depth, 10);
  EXPECT_EQ(configuration->picture.width, std::nullopt);
}

TEST(Hevc, ReadsThroughScalingListsAndReferenceSets) {
  std::vector<std::uint8_t> extradata = {0, 0, 0, 1};
  const auto sps = Hex(kSps444);
  extradata.insert(extradata.end(), sps.begin(), sps.end());
  const auto configuration = ReadHevcConfiguration(extradata);
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, kAnnexB);
  EXPECT_EQ(configuration->picture.profile, 4);
  EXPECT_EQ(configuration->picture.width, 322U);
  EXPECT_EQ(configuration->picture.height, 242U);
  EXPECT_EQ(configuration->picture.chroma_sampling, 444);
  EXPECT_EQ(configuration->picture.frame_rate, (Rational{25, 1}));
}

TEST(Hevc, CallsFieldSequencesNotProgressive) {
  const auto picture =
      ReadSets(Hex("002b 420101216000000300400000030000030099a005a200905965654a4c2f016868000003000800000300c840"));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->high_tier, true);
  EXPECT_EQ(picture->level, 153);
  EXPECT_EQ(picture->progressive_only, false);
  EXPECT_EQ(picture->field_order, std::nullopt);
}

TEST(Hevc, RefusesBytesOfNeitherForm) {
  EXPECT_FALSE(ReadHevcConfiguration({}));
  EXPECT_FALSE(ReadHevcConfiguration(std::span(kHvcc).first(22)));
  EXPECT_FALSE(ReadHevcConfiguration(Hex("00 00 00 01 40 01 0c")));
  auto wrong_version = kHvcc;
  wrong_version[0] = 2;
  EXPECT_FALSE(ReadHevcConfiguration(wrong_version));
}

TEST(Hevc, ReadsBehindTheSubLayersOfTheProfile) {
  const auto picture = Read({.high_tier = true});
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->level, 120);
  EXPECT_EQ(picture->high_tier, true);
  EXPECT_EQ(picture->width, 1920U);
  EXPECT_EQ(picture->height, 1080U);
  EXPECT_EQ(picture->reference_frames, 5);
}

TEST(Hevc, TakesAProfileThatIsOnlyToldByCompatibility) { EXPECT_EQ(Read({.profile = 0})->profile, 1); }

TEST(Hevc, TellsTheSourceScanOnlyWhenTheFlagsDo) {
  EXPECT_EQ(Read({.source_flags = 0b00})->progressive_only, std::nullopt);
  EXPECT_EQ(Read({.source_flags = 0b01})->progressive_only, false);
  EXPECT_EQ(Read({.source_flags = 0b10})->progressive_only, true);
  EXPECT_EQ(Read({.source_flags = 0b11})->progressive_only, std::nullopt);
}

TEST(Hevc, CropsInChromaUnits) {
  const auto width = [](unsigned chroma) { return Read({.chroma = chroma, .crop_right = 3})->width; };
  EXPECT_EQ(width(0), 1917U);
  EXPECT_EQ(width(1), 1914U);
  EXPECT_EQ(width(2), 1914U);
  EXPECT_EQ(width(3), 1917U);
  EXPECT_EQ(Read({.chroma = 2})->height, 1084U);
}

TEST(Hevc, RefusesFieldsOutOfRange) {
  EXPECT_FALSE(Read({.chroma = 4}));
  EXPECT_EQ(Read({.depth_above_8 = 8})->bit_depth, 16);
  EXPECT_FALSE(Read({.depth_above_8 = 9}));
  EXPECT_FALSE(Read({.width = 0}));
  EXPECT_TRUE(Read({.width = 65535}));
  EXPECT_FALSE(Read({.width = 65536}));
}

TEST(Hevc, LeavesOutBufferSizesBeyondTheStandard) {
  EXPECT_EQ(Read({.buffering = 16})->reference_frames, 16);
  EXPECT_EQ(Read({.buffering = 17})->reference_frames, std::nullopt);
}

TEST(Hevc, SkipsTheSetsOfHigherLayers) {
  EXPECT_FALSE(ReadSets(Sample(33, Compose({}).Bytes(), /*layer=*/1)));
  EXPECT_FALSE(ReadSets(Sample(33, Compose({}).Bytes(), /*layer=*/32)));
}

/// A sample of a sequence parameter set and a video parameter set of two layers, whose extension has the dimensions of
/// `scalability_mask` and the value 1 for each.
std::vector<std::uint8_t> LayeredSample(unsigned scalability_mask, unsigned dimensions) {
  BitWriter bits;
  bits.Bits(0, 4).Bits(0b11, 2).Bits(1, 6).Bits(0, 3).Bits(1, 1).Bits(0xFFFF, 16);
  ProfileTierLevel(bits, 1, false, 0);
  bits.Bits(0, 1).Ue(4).Ue(2).Ue(0);                                 // ordering information
  bits.Bits(1, 6).Ue(1).Bits(0b11, 2);                               // one layer set more, of layers 0 and 1
  bits.Bits(1, 1).Bits(1, 32).Bits(50, 32).Bits(0, 1);               // timing
  bits.Ue(1).Ue(0).Bits(0b10, 2).Bits(0, 1).Bits(0, 8).Bits(0, 15);  // one HRD: NAL schedules, no sub-pictures
  bits.Bits(1, 1).Ue(0).Ue(0).Ue(7).Ue(7).Bits(0, 1);                // fixed rate, one buffer
  bits.Bits(1, 1);                                                   // vps_extension_flag
  while (bits.BitCount() % 8 != 0) bits.Bits(1, 1);
  bits.Bits(120, 8).Bits(0, 1).Bits(scalability_mask, 16);
  for (unsigned i = 0; i < dimensions; ++i) bits.Bits(0, 3);
  bits.Bits(1, 1).Bits(1, 6);  // layer identifiers
  for (unsigned i = 0; i < dimensions; ++i) bits.Bits(1, 1);
  auto sample = Sample(32, bits.Bytes());
  const auto sequence = Sample(33, Compose({}).Bytes());
  sample.insert(sample.end(), sequence.begin(), sequence.end());
  return sample;
}

TEST(Hevc, CountsTheViewsOfTheLayers) {
  const auto picture = ReadSets(LayeredSample(0x4000, 1));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->views, 2);
  EXPECT_EQ(picture->alpha, std::nullopt);
  EXPECT_EQ(picture->frame_rate, (Rational{50, 1})) << "taken from the video parameter set";
}

TEST(Hevc, FindsAnAlphaLayer) {
  const auto picture = ReadSets(LayeredSample(0x1000, 1));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->views, std::nullopt);
  EXPECT_EQ(picture->alpha, true);
}

TEST(Hevc, TakesAnAlphaChannelMessageForAlpha) {
  auto sample = Sample(39, Hex("a5 02 00 00 80"));
  const auto sequence = Sample(33, Compose({}).Bytes());
  sample.insert(sample.end(), sequence.begin(), sequence.end());
  EXPECT_EQ(ReadSets(sample)->alpha, true);
}

TEST(Hevc, TellsTheKindOfAKeyPicture) {
  const auto kind = [](unsigned type, unsigned layer = 0) { return KindOfHevcPicture(Sample(type, {0x80}, layer), 2); };
  EXPECT_EQ(kind(1), HevcPictureKind::kOther);
  EXPECT_EQ(kind(16), HevcPictureKind::kBla);
  EXPECT_EQ(kind(18), HevcPictureKind::kBla);
  EXPECT_EQ(kind(19), HevcPictureKind::kIdr);
  EXPECT_EQ(kind(20), HevcPictureKind::kIdr);
  EXPECT_EQ(kind(21), HevcPictureKind::kCra);
  EXPECT_EQ(kind(22), HevcPictureKind::kOther);
  EXPECT_EQ(kind(35), std::nullopt) << "an access unit delimiter is no slice";
  EXPECT_EQ(kind(19, 1), std::nullopt) << "another layer";
}

TEST(Hevc, DoesNotJudgeAUnitCutInsideItsHeader) {
  EXPECT_EQ(KindOfHevcPicture(Hex("0010 26"), 2), std::nullopt);
  EXPECT_EQ(KindOfHevcPicture(Hex("0010 2601"), 2), HevcPictureKind::kIdr);
}

}  // namespace
}  // namespace media_server::codec
