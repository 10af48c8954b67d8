#include "media-server/image/jpeg_xl_codestream.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/media-server/image/jpeg_xl_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::optional<JpegXlHeader> Parse(std::string_view bytes) {
  return ParseJpegXlHeader({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::optional<PictureSize> SizeOf(const JpegXlBits& bits) {
  const auto header = Parse(bits.Bytes());
  return header ? std::optional(header->size) : std::nullopt;
}

constexpr unsigned kSquare = 1;

/// All fields in front of the extra channels: bit depth of 8, 16-bit buffers suffice.
JpegXlBits UpToExtraChannels() {
  return JpegXlBits()
      .Size(100, kSquare)
      .Put(0, 1)  // not all default
      .Put(0, 1)  // no extra fields
      .Put(0, 1)
      .Put(0, 2)   // bit depth: whole numbers, 8
      .Put(1, 1);  // 16-bit buffers
}

/// ExtraChannelInfo of 8 bits without a name, as far as the fields that depend on the type.
JpegXlBits& PutChannel(JpegXlBits& bits, unsigned type_selector, unsigned type_bits = 0, unsigned type_width = 0) {
  return bits
      .Put(0, 1)  // not all default
      .Put(type_selector, 2)
      .Put(type_bits, type_width)  // type
      .Put(0, 1)
      .Put(0, 2)   // bit depth
      .Put(0, 2)   // subsampling
      .Put(0, 2);  // length of the name
}

TEST(JpegXlCodestream, WidthAndHeightOfEachLength) {
  // 1 + 9, 13, 18 or 30 bits.
  EXPECT_EQ(SizeOf(JpegXlBits().Put(0, 1).Put(0, 2).Put(511, 9).Put(0, 3).Put(0, 2).Put(0, 9)), (PictureSize{1, 512}));
  EXPECT_EQ(SizeOf(JpegXlBits().Put(0, 1).Put(1, 2).Put(8191, 13).Put(0, 3).Put(1, 2).Put(599, 13)),
            (PictureSize{600, 8192}));
  EXPECT_EQ(SizeOf(JpegXlBits().Put(0, 1).Put(2, 2).Put(0x3FFFF, 18).Put(0, 3).Put(2, 2).Put(99999, 18)),
            (PictureSize{100000, 0x40000}));
  EXPECT_EQ(SizeOf(JpegXlBits().Put(0, 1).Put(3, 2).Put(0x3FFFFFFF, 30).Put(0, 3).Put(3, 2).Put(0, 30)),
            (PictureSize{1, 0x40000000}));
}

TEST(JpegXlCodestream, SmallSizesAreInEights) {
  EXPECT_EQ(SizeOf(JpegXlBits().Put(1, 1).Put(0, 5).Put(0, 3).Put(31, 5)), (PictureSize{256, 8}));
  EXPECT_EQ(SizeOf(JpegXlBits().Put(1, 1).Put(3, 5).Put(kSquare, 3)), (PictureSize{32, 32}));
}

TEST(JpegXlCodestream, RatiosGiveTheWidth) {
  const PictureSize expected[] = {{257, 257}, {308, 257}, {342, 257}, {385, 257}, {456, 257}, {321, 257}, {514, 257}};
  for (unsigned ratio = 1; ratio <= 7; ++ratio) {
    EXPECT_EQ(SizeOf(JpegXlBits().Size(257, ratio)), expected[ratio - 1]) << ratio;
  }
  EXPECT_EQ(SizeOf(JpegXlBits().Put(0, 1).Put(3, 2).Put(0x3FFFFFFF, 30).Put(7, 3)),
            (PictureSize{0x80000000, 0x40000000}));
}

TEST(JpegXlCodestream, DefaultsAreUprightWithoutAlpha) {
  const auto header = Parse(JpegXlBits().Size(100, kSquare).Put(1, 1).Bytes());
  ASSERT_TRUE(header);
  EXPECT_EQ(header->orientation, Orientation());
  EXPECT_EQ(header->alpha, imagecore::kAlphaNone);
}

TEST(JpegXlCodestream, OrientationIsAsExifNumbersItLessOne) {
  const auto parse = [](unsigned code) {
    return Parse(JpegXlBits()
                     .Size(100, kSquare)
                     .Put(0, 1)  // not all default
                     .Put(1, 1)  // extra fields
                     .Put(code, 3)
                     .Put(0, 3)  // neither size to be shown at, nor preview, nor animation
                     .Put(0, 40)
                     .Bytes());
  };
  EXPECT_EQ(parse(0)->orientation, (Orientation{imagecore::kFlipNone, 0}));
  EXPECT_EQ(parse(4)->orientation, (Orientation{imagecore::kFlipHorizontal, 270}));
  EXPECT_EQ(parse(7)->orientation, (Orientation{imagecore::kFlipNone, 270}));
}

TEST(JpegXlCodestream, AlphaIsAnExtraChannel) {
  EXPECT_EQ(Parse(UpToExtraChannels().Put(0, 2).Put(0, 1).Bytes())->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Parse(UpToExtraChannels().Put(1, 2).Put(1, 1).Bytes())->alpha, imagecore::kAlphaStraight)
      << "the default extra channel";
  JpegXlBits straight = UpToExtraChannels().Put(1, 2);
  EXPECT_EQ(Parse(PutChannel(straight, 0).Put(0, 1).Bytes())->alpha, imagecore::kAlphaStraight);
  JpegXlBits premultiplied = UpToExtraChannels().Put(1, 2);
  EXPECT_EQ(Parse(PutChannel(premultiplied, 0).Put(1, 1).Bytes())->alpha, imagecore::kAlphaPremultiplied);
}

TEST(JpegXlCodestream, AlphaMayStandBehindOtherChannels) {
  JpegXlBits bits = UpToExtraChannels().Put(2, 2).Put(2, 4);  // 2 + 2 channels
  PutChannel(bits, 1);                                        // depth
  PutChannel(bits, 2, 0, 4);                                  // a spot colour
  for (int i = 0; i < 4; ++i) bits.Put(0xFFFF, 16);           // its red, green, blue and solidity
  PutChannel(bits, 2, 3, 4).Put(1, 2).Put(3, 2);              // a colour filter and its number
  bits.Put(0, 1)                                              // not all default
      .Put(0, 2)                                              // alpha
      .Put(1, 1)
      .Put(3, 2)
      .Put(31, 6)
      .Put(7, 4)  // bit depth: 32-bit float, 8 bits of exponent
      .Put(3, 2)
      .Put(5, 3)  // subsampling
      .Put(1, 2)
      .Put(2, 4)
      .Put('a', 8)
      .Put('b', 8)  // name
      .Put(1, 1);   // premultiplied
  EXPECT_EQ(Parse(bits.Bytes())->alpha, imagecore::kAlphaPremultiplied);
}

TEST(JpegXlCodestream, ExtraFieldsAreSkippedAsTheyAre) {
  JpegXlBits bits = JpegXlBits()
                        .Size(100, kSquare)
                        .Put(0, 1)  // not all default
                        .Put(1, 1)  // extra fields
                        .Put(5, 3)  // orientation 6
                        .Put(1, 1)
                        .Put(1, 1)
                        .Put(3, 5)
                        .Put(1, 3)  // size to be shown at: small, square
                        .Put(1, 1)  // preview:
                        .Put(0, 1)
                        .Put(2, 2)
                        .Put(77, 10)  // not in eights, height
                        .Put(0, 3)
                        .Put(3, 2)
                        .Put(9, 12)  // no ratio, width
                        .Put(1, 1)   // animation:
                        .Put(3, 2)
                        .Put(1000, 30)  // ticks a second
                        .Put(2, 2)
                        .Put(4, 8)  // over
                        .Put(3, 2)
                        .Put(0xFFFFFFFF, 32)  // loops
                        .Put(1, 1)            // time codes
                        .Put(0, 1)
                        .Put(2, 2)  // bit depth: whole numbers, 12
                        .Put(0, 1)  // 16-bit buffers
                        .Put(1, 2)
                        .Put(1, 1);  // one extra channel, all default
  const auto header = Parse(bits.Bytes());
  ASSERT_TRUE(header);
  EXPECT_EQ(header->orientation, (Orientation{imagecore::kFlipNone, 90}));
  EXPECT_EQ(header->alpha, imagecore::kAlphaStraight);
}

TEST(JpegXlCodestream, AgreesWithWhatAnEncoderWrites) {
  // libjxl 0.7: 1920 x 1080 with alpha, and 333 x 257 without.
  const auto with_alpha = Parse("\xff\x0a\xba\x21\x05\x3b\x01\x00\x48\x80\x28\x00\x3c\x04\x47\x0c"s);
  ASSERT_TRUE(with_alpha);
  EXPECT_EQ(with_alpha->size, (PictureSize{1920, 1080}));
  EXPECT_EQ(with_alpha->orientation, Orientation());
  EXPECT_EQ(with_alpha->alpha, imagecore::kAlphaStraight);
  const auto opaque = Parse("\xff\x0a\x00\x08\x98\x0e\x00\x12\x88\x02\x00\x98\x81\x09\x0c\x00"s);
  ASSERT_TRUE(opaque);
  EXPECT_EQ(opaque->size, (PictureSize{333, 257}));
  EXPECT_EQ(opaque->alpha, imagecore::kAlphaNone);
}

TEST(JpegXlCodestream, CutAnywhereTellsWhatStandsInFrontOfTheCut) {
  const std::string whole = "\xff\x0a\xba\x21\x05\x3b\x01\x00\x48\x80\x28"s;
  // The size ends in the fifth byte, the extra channel in the sixth.
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const auto header = Parse(whole.substr(0, size));
    EXPECT_EQ(header.has_value(), size >= 5) << size;
    if (!header) continue;
    EXPECT_EQ(header->size, (PictureSize{1920, 1080})) << size;
    EXPECT_EQ(header->alpha.has_value(), size >= 6) << size;
  }
}

TEST(JpegXlCodestream, AnotherSignatureIsRefused) {
  EXPECT_FALSE(Parse("\xff\x0b\xba\x21\x05\x3b\x01\x00"s));
  EXPECT_FALSE(Parse("\xfe\x0a\xba\x21\x05\x3b\x01\x00"s));
}

TEST(JpegXlCodestream, ThousandsOfChannelsEndWithTheBytes) {
  JpegXlBits bits = UpToExtraChannels().Put(3, 2).Put(0xFFF, 12);
  for (int i = 0; i < 100; ++i) PutChannel(bits, 1);
  const auto header = Parse(bits.Bytes());
  ASSERT_TRUE(header);
  EXPECT_EQ(header->size, (PictureSize{100, 100}));
  EXPECT_EQ(header->orientation, Orientation()) << "it stood in front of the channels";
  EXPECT_FALSE(header->alpha);
}

/// All fields up to the colours, of an animation with 24 ticks in 1.001 seconds and time codes.
JpegXlBits UpToColours(bool has_preview = false) {
  JpegXlBits bits;
  bits.Size(100, kSquare).Put(0, 1).Put(1, 1).Put(0, 3).Put(0, 1).Put(has_preview, 1);
  if (has_preview) bits.Put(1, 1).Put(0, 2).Put(kSquare, 3);  // 16 x 16
  bits.Put(1, 1).Put(3, 2).Put(23999, 30).Put(1, 2).Put(0, 2).Put(1, 1);
  return bits.Put(0, 3).Put(1, 1).Put(0, 2).Put(0, 1);  // depth, buffers, no channels, not XYB
}

TEST(JpegXlCodestream, FramesBeginBehindColoursTonesAndTransform) {
  JpegXlBits plain = UpToColours();
  plain.Put(1, 1).Put(1, 1).Put(0, 2).Put(1, 1).ToByte();  // all default
  const auto header = Parse(plain.Bytes() + "frames");
  ASSERT_TRUE(header && header->frame_rules);
  EXPECT_EQ(header->frame_rules->ticks_per_second, 24000U);
  EXPECT_EQ(header->frame_rules->ticks_divisor, 1001U);
  EXPECT_TRUE(header->frame_rules->has_time_codes);
  EXPECT_FALSE(header->frame_rules->is_xyb);
  EXPECT_EQ(header->frame_rules->size, (PictureSize{100, 100}));
  EXPECT_EQ(header->frame_rules->frames_begin, plain.Bytes().size());

  JpegXlBits custom = UpToColours();
  custom.Put(0, 1).Put(0, 1).Put(0, 2);       // colours: no profile, RGB
  custom.Put(2, 2).Put(0, 4).Put(0, 2 * 21);  // white point of its own
  custom.Put(2, 2).Put(0, 4);                 // primaries of its own:
  custom.Put(0, 2 * 21).Put(1, 2).Put(0, 19).Put(2, 2).Put(0, 20).Put(3, 2).Put(0, 21).Put(0, 21);
  custom.Put(1, 1).Put(0, 24).Put(1, 2);                          // gamma, intent
  custom.Put(0, 1).Put(0, 32).Put(0, 1).Put(0, 16);               // tones
  custom.Put(0, 2).Put(0, 1).Put(1, 3).Put(0, 15 * 16).ToByte();  // no extensions; weights of the first upsampling
  const auto other = Parse(custom.Bytes() + "frames");
  ASSERT_TRUE(other && other->frame_rules);
  EXPECT_EQ(other->frame_rules->frames_begin, custom.Bytes().size());
}

TEST(JpegXlCodestream, FramesBehindWhatIsCompressedAreNotFound) {
  JpegXlBits profile = UpToColours();
  profile.Put(0, 1).Put(1, 1).Put(0, 2).Put(1, 1).Put(0, 2).Put(1, 1);
  EXPECT_FALSE(Parse(profile.Bytes() + "frames")->frame_rules);
  JpegXlBits preview = UpToColours(/*has_preview=*/true);
  preview.Put(1, 1).Put(1, 1).Put(0, 2).Put(1, 1);
  EXPECT_FALSE(Parse(preview.Bytes() + "frames")->frame_rules);
  EXPECT_FALSE(Parse(UpToColours().Bytes())->frame_rules) << "cut short";
}

}  // namespace
}  // namespace media_server::image
