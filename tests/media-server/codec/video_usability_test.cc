#include "media-server/codec/video_usability.h"

#include <gtest/gtest.h>

#include "tests/media-server/codec/bit_writer.h"

namespace media_server::codec {
namespace {

using core::Rational;

TEST(PositiveRatio, ReducesAndRefusesZero) {
  EXPECT_EQ(PositiveRatio(60000, 2002), (Rational{30000, 1001}));
  EXPECT_EQ(PositiveRatio(0, 5), std::nullopt);
  EXPECT_EQ(PositiveRatio(5, 0), std::nullopt);
  EXPECT_EQ(PositiveRatio(std::uint64_t{1} << 63, 1), std::nullopt);
}

TEST(SampleAspectRatio, KnowsSixteenIndicators) {
  EXPECT_EQ(SampleAspectRatio(0), std::nullopt);
  EXPECT_EQ(SampleAspectRatio(1), (Rational{1, 1}));
  EXPECT_EQ(SampleAspectRatio(13), (Rational{160, 99}));
  EXPECT_EQ(SampleAspectRatio(16), (Rational{2, 1}));
  EXPECT_EQ(SampleAspectRatio(17), std::nullopt);
}

TEST(NamedColor, LeavesOutUnspecifiedAndReservedNumbers) {
  EXPECT_EQ(NamedColor(2, 2, 2), ColorDescription{});
  EXPECT_EQ(NamedColor(0, 0, 0), (ColorDescription{{}, {}, 0, {}}));
  EXPECT_EQ(NamedColor(3, 3, 3), ColorDescription{});
  EXPECT_EQ(NamedColor(12, 18, 17), (ColorDescription{12, 18, 17, {}}));
  EXPECT_EQ(NamedColor(22, 19, 18), (ColorDescription{22, {}, {}, {}}));
  EXPECT_EQ(NamedColor(13, 19, 255), ColorDescription{});
}

TEST(ReadCommonUsability, KeepsWhatComesBeforeATruncation) {
  // extended aspect 4:3 in full; of the signal type not the colour numbers
  const auto bits_of =
      BitWriter().Bits(1, 1).Bits(255, 8).Bits(4, 16).Bits(3, 16).Bits(0, 1).Bits(1, 1).Bits(5, 3).Bits(0b11, 2);
  BitReader bits(std::span(bits_of.Bytes()).first(5));
  PictureParameters picture;
  ReadCommonUsability(bits, picture);
  EXPECT_EQ(picture.sample_aspect_ratio, std::nullopt);
  BitReader more(bits_of.Bytes());
  ReadCommonUsability(more, picture);
  EXPECT_EQ(picture.sample_aspect_ratio, (Rational{4, 3}));
  EXPECT_EQ(picture.color, ColorDescription{});
}

}  // namespace
}  // namespace media_server::codec
