#include "media-server/codec/h264.h"

#include <gtest/gtest.h>

#include "media-server/codec/nal.h"
#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

/// avcC of a 426x240 picture at 30000/1001 frames per second, as x264 writes it: High profile, CABAC.
const auto kAvcc =
    Hex("01 640015 ff"                                              // version, profile 100, level 21, four length bytes
        "e1 0018 67640015acd941b1fe4f011000003e90000ea600f162d960"  // one sequence parameter set
        "01 0006 68ebe3cb22c0 fdf8f800");                           // one picture parameter set, High profile fields

/// Extradata of a 1920x1080 interlaced stream, Main profile, CAVLC, HRD parameters, three emulation prevention bytes.
const auto kAnnexBSets =
    Hex("00000167 4d4028f403c0227ef011000003000100000300326480001312d00009896a4c200f8b175"
        "00000000168de0fc8");

/// The parameters that the tests below compose a sequence parameter set from.
struct Sps {
  unsigned profile = 100;
  unsigned constraints = 0;
  unsigned level = 40;
  unsigned id = 0;
  unsigned chroma = 1;
  unsigned separate_planes = 0;
  unsigned depth_above_8 = 0;
  unsigned order_type = 0;
  unsigned references = 4;
  unsigned width_in_mbs = 20;
  unsigned height_in_map_units = 15;
  bool frames_only = true;
  unsigned crop[4] = {};
};

BitWriter Compose(const Sps& sps) {
  BitWriter bits;
  bits.Bits(sps.profile, 8).Bits(sps.constraints, 8).Bits(sps.level, 8).Ue(sps.id);
  if (sps.profile >= 100) {
    bits.Ue(sps.chroma);
    if (sps.chroma == 3) bits.Bits(sps.separate_planes, 1);
    bits.Ue(sps.depth_above_8).Ue(sps.depth_above_8).Bits(0, 2);
  }
  bits.Ue(0).Ue(sps.order_type);
  if (sps.order_type == 0) bits.Ue(2);
  bits.Ue(sps.references).Bits(0, 1).Ue(sps.width_in_mbs - 1).Ue(sps.height_in_map_units - 1);
  bits.Bits(sps.frames_only, 1);
  if (!sps.frames_only) bits.Bits(0, 1);
  bits.Bits(1, 1).Bits(1, 1);  // direct_8x8_inference_flag, frame_cropping_flag
  for (const unsigned side : sps.crop) bits.Ue(side);
  return bits;
}

/// A sample of one NAL unit with a one byte length.
std::vector<std::uint8_t> Sample(std::uint8_t header, const BitWriter& payload) {
  std::vector<std::uint8_t> sample = {static_cast<std::uint8_t>(payload.Bytes().size() + 1), header};
  sample.insert(sample.end(), payload.Bytes().begin(), payload.Bytes().end());
  return sample;
}

std::optional<PictureParameters> Read(const Sps& sps) {
  BitWriter bits = Compose(sps);
  bits.Bits(0, 1);  // vui_parameters_present_flag
  return ReadH264ParameterSets(Sample(0x67, bits), 1);
}

TEST(H264, ReadsAnAvcConfigurationRecord) {
  const auto configuration = ReadH264Configuration(kAvcc);
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, 4);
  const PictureParameters& picture = configuration->picture;
  EXPECT_EQ(picture.profile, 100);
  EXPECT_EQ(picture.level, 21);
  EXPECT_EQ(picture.width, 426U);
  EXPECT_EQ(picture.height, 240U);
  EXPECT_EQ(picture.sample_aspect_ratio, (Rational{1, 1}));
  EXPECT_EQ(picture.bit_depth, 8);
  EXPECT_EQ(picture.chroma_sampling, 420);
  EXPECT_EQ(picture.color, ColorDescription{});
  EXPECT_EQ(picture.reference_frames, 4);
  EXPECT_EQ(picture.cabac, true);
  EXPECT_EQ(picture.progressive_only, true);
  EXPECT_EQ(picture.field_order, FieldOrder::kProgressive);
  EXPECT_EQ(picture.frame_rate, (Rational{30000, 1001}));
  EXPECT_EQ(picture.views, std::nullopt);
  EXPECT_EQ(picture.high_tier, std::nullopt);
}

TEST(H264, ReadsParameterSetsBehindStartCodes) {
  const auto configuration = ReadH264Configuration(kAnnexBSets);
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, kAnnexB);
  EXPECT_EQ(configuration->picture.profile, 77);
  EXPECT_EQ(configuration->picture.level, 40);
  EXPECT_EQ(configuration->picture.height, 1080U);
  EXPECT_EQ(configuration->picture.frame_rate, (Rational{25, 1}));
  EXPECT_EQ(configuration->picture.cabac, false);
  EXPECT_EQ(configuration->picture.progressive_only, false);
  EXPECT_EQ(configuration->picture.field_order, std::nullopt);
}

TEST(H264, ReadsColourAndAspectFromTheUsabilityInformation) {
  const auto configuration = ReadH264Configuration(
      Hex("01640016ffe10022 6764001eacd940a02ff9bff000700056a02020280000030008000003019078b16cb0 01000668ebe3cb22c0"));
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->picture.level, 30) << "the parameter set's level wins over the record's 22";
  EXPECT_EQ(configuration->picture.sample_aspect_ratio, (Rational{7, 5}));
  EXPECT_EQ(configuration->picture.color, (ColorDescription{1, 1, 1, false}));
}

TEST(H264, CallsFullChromaWithAnIdentityMatrixRgb) {
  const auto configuration = ReadH264Configuration(
      Hex("01f4001effe1001f 67f4001e91d640290bf8f8bc05b8101002000003000200000300641e2c5c90 01000568ebc06bcb"));
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->picture.profile, 244);
  EXPECT_EQ(configuration->picture.chroma_sampling, kChromaRgb);
  EXPECT_EQ(configuration->picture.color, (ColorDescription{std::nullopt, std::nullopt, 0, true}));
}

TEST(H264, KeepsProfileAndLevelOfARecordWithoutParameterSets) {
  const auto configuration = ReadH264Configuration(Hex("01 64 00 28 fd e0 00"));
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->nal_length_size, 2);
  EXPECT_EQ(configuration->picture.profile, 100);
  EXPECT_EQ(configuration->picture.level, 40);
  EXPECT_EQ(configuration->picture.width, std::nullopt);
  EXPECT_EQ(configuration->picture.cabac, std::nullopt);
}

TEST(H264, KeepsTheSizeOfARecordCutBehindItsSequenceParameterSet) {
  for (const std::size_t size : {32U, 33U, 36U}) {
    const auto configuration = ReadH264Configuration(std::span(kAvcc).first(size));
    ASSERT_TRUE(configuration) << size;
    EXPECT_EQ(configuration->picture.width, 426U) << size;
    EXPECT_EQ(configuration->picture.cabac, std::nullopt) << size;
  }
}

TEST(H264, RefusesBytesOfNeitherForm) {
  EXPECT_FALSE(ReadH264Configuration({}));
  EXPECT_FALSE(ReadH264Configuration(Hex("01 64 00 28 ff")));
  EXPECT_FALSE(ReadH264Configuration(Hex("02 64 00 28 ff e0 00")));
}

TEST(H264, RefusesEveryTruncationOfTheMandatoryFields) {
  const BitWriter whole = Compose({});
  for (std::size_t size = 0; size + 1 < whole.Bytes().size(); ++size) {
    std::vector<std::uint8_t> sample = {0x67};
    sample.insert(sample.end(), whole.Bytes().begin(), whole.Bytes().begin() + static_cast<std::ptrdiff_t>(size));
    sample.insert(sample.begin(), static_cast<std::uint8_t>(sample.size()));
    EXPECT_FALSE(ReadH264ParameterSets(sample, 1)) << size;
  }
}

TEST(H264, NumbersProfilesWithTheirConstraintFlags) {
  EXPECT_EQ(Read({.profile = 66, .constraints = 0x40})->profile, 578);
  EXPECT_EQ(Read({.profile = 66})->profile, 66);
  EXPECT_EQ(Read({.profile = 77, .constraints = 0x50})->profile, 77);
  EXPECT_EQ(Read({.profile = 110, .constraints = 0x10})->profile, 110 + 2048);
  EXPECT_EQ(Read({.profile = 122, .constraints = 0x10})->profile, 122 + 2048);
  EXPECT_EQ(Read({.profile = 244, .constraints = 0x10})->profile, 244 + 2048);
  EXPECT_EQ(Read({.profile = 100, .constraints = 0x10})->profile, 100);
}

TEST(H264, GivesLevel1bOneNumber) {
  EXPECT_EQ(Read({.profile = 77, .constraints = 0x10, .level = 11})->level, 9);
  EXPECT_EQ(Read({.profile = 88, .constraints = 0x10, .level = 11})->level, 9);
  EXPECT_EQ(Read({.profile = 77, .constraints = 0x00, .level = 11})->level, 11);
  EXPECT_EQ(Read({.profile = 100, .constraints = 0x10, .level = 11})->level, 11);
  EXPECT_EQ(Read({.profile = 100, .level = 9})->level, 9);
}

TEST(H264, CropsInUnitsOfTheChromaFormatAndTheField) {
  const auto size = [](Sps sps) {
    sps.crop[1] = 3;
    sps.crop[3] = 2;
    const auto picture = Read(sps);
    return std::pair(picture->width, picture->height);
  };
  using Size = std::pair<std::optional<std::uint32_t>, std::optional<std::uint32_t>>;
  EXPECT_EQ(size({.chroma = 0}), Size(317, 238));
  EXPECT_EQ(size({.chroma = 1}), Size(314, 236));
  EXPECT_EQ(size({.chroma = 2}), Size(314, 238));
  EXPECT_EQ(size({.chroma = 3}), Size(317, 238));
  EXPECT_EQ(size({.chroma = 3, .separate_planes = 1}), Size(317, 238));
  EXPECT_EQ(size({.profile = 77, .frames_only = false}), Size(314, 472));
}

TEST(H264, IgnoresCroppingThatLeavesNothing) {
  EXPECT_EQ(Read({.crop = {0, 160, 0, 0}})->width, 320U);
  EXPECT_EQ(Read({.crop = {0, 159, 0, 0}})->width, 2U);
}

TEST(H264, RefusesFieldsOutOfRange) {
  EXPECT_TRUE(Read({.id = 31}));
  EXPECT_FALSE(Read({.id = 32}));
  EXPECT_FALSE(Read({.chroma = 4}));
  EXPECT_EQ(Read({.depth_above_8 = 6})->bit_depth, 14);
  EXPECT_FALSE(Read({.depth_above_8 = 7}));
  EXPECT_TRUE(Read({.width_in_mbs = 4095}));
  EXPECT_FALSE(Read({.width_in_mbs = 4096}));
}

TEST(H264, LeavesOutReferenceFramesBeyondTheStandard) {
  EXPECT_EQ(Read({.references = 16})->reference_frames, 16);
  EXPECT_EQ(Read({.references = 17})->reference_frames, std::nullopt);
}

TEST(H264, KnowsThatPictureOrderType2NeverReorders) {}

TEST(H264, TakesCabacFromThePictureSetOfTheSequence) {
  BitWriter sequence = Compose({.id = 1});
  sequence.Bits(0, 1);
  auto sample = Sample(0x68, BitWriter().Ue(0).Ue(0).Bits(0, 1));  // refers to another sequence
  for (const auto& unit : {Sample(0x67, sequence), Sample(0x68, BitWriter().Ue(1).Ue(1).Bits(1, 1))}) {
    sample.insert(sample.end(), unit.begin(), unit.end());
  }
  EXPECT_EQ(ReadH264ParameterSets(sample, 1)->cabac, true);
}

TEST(H264, CountsTheViewsOfASubsetSequence) {
  BitWriter base = Compose({});
  base.Bits(0, 1);
  BitWriter subset = Compose({.profile = 118});
  const auto picture_with = [&](const BitWriter& second) {
    auto sample = Sample(0x67, base);
    const auto unit = Sample(0x6F, second);
    sample.insert(sample.end(), unit.begin(), unit.end());
    return ReadH264ParameterSets(sample, 1);
  };
  BitWriter plain = subset;
  plain.Bits(0, 1).Bits(1, 1).Ue(1);  // no usability information, bit_equal_to_one, num_views_minus1
  const auto picture = picture_with(plain);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->profile, 100);
  EXPECT_EQ(picture->views, 2);

  BitWriter with_depth = Compose({.profile = 138});
  with_depth.Bits(0, 1).Bits(1, 1).Ue(2);
  EXPECT_EQ(picture_with(with_depth)->views, 3);

  BitWriter restricted = subset;
  restricted.Bits(1, 1).Bits(0, 8);                                      // usability information with nothing but
  restricted.Bits(1, 1).Bits(1, 1).Ue(2).Ue(1).Ue(9).Ue(8).Ue(3).Ue(4);  // the restrictions of a bitstream
  restricted.Bits(1, 1).Ue(1);
  EXPECT_EQ(picture_with(restricted)->views, 2) << "they stand behind the restrictions";
}

TEST(H264, TakesAnAuxiliaryPictureFormatForAlpha) {
  BitWriter base = Compose({});
  base.Bits(0, 1);
  auto sample = Sample(0x67, base);
  EXPECT_EQ(ReadH264ParameterSets(sample, 1)->alpha, std::nullopt);
  const auto extension = Sample(0x6D, BitWriter().Ue(0).Ue(2));
  sample.insert(sample.end(), extension.begin(), extension.end());
  EXPECT_EQ(ReadH264ParameterSets(sample, 1)->alpha, true);
}

TEST(H264, AuxiliaryPicturesWithoutAPurposeAreNoAlpha) {
  std::vector<std::uint8_t> sample = Sample(0x67, Compose({}).Bits(0, 1));
  const auto extension = Sample(0x6D, BitWriter().Ue(0).Ue(3));
  sample.insert(sample.end(), extension.begin(), extension.end());
  EXPECT_EQ(ReadH264ParameterSets(sample, 1)->alpha, std::nullopt);
}

TEST(H264, FindsAlphaBehindTheFormatOfARecord) {
  std::vector<std::uint8_t> record = kAvcc;
  record.back() = 1;  // one extension of the sequence parameter set: parameter set 0, format 1, 8 bits
  const auto extension = Hex("0003 6da880");
  record.insert(record.end(), extension.begin(), extension.end());
  EXPECT_EQ(ReadH264Configuration(record)->picture.alpha, true);
  EXPECT_EQ(ReadH264Configuration(kAvcc)->picture.alpha, std::nullopt);
}

TEST(H264, TellsIdrPicturesFromOthers) {
  EXPECT_EQ(IsH264Idr(Hex("00000002 09f0 000186a0 6588"), 4), true);  // access unit delimiter, slice cut short
  EXPECT_EQ(IsH264Idr(Hex("00000002 09f0 000186a0 4188"), 4), false);
  EXPECT_EQ(IsH264Idr(Hex("00000001 0610 00000001 2588"), kAnnexB), true);
  EXPECT_EQ(IsH264Idr(Hex("00000002 0610"), 4), std::nullopt);
}

}  // namespace
}  // namespace media_server::codec
