#include "media-server/image/gif.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

/// Signature, size, no colour table.
std::string Screen(unsigned width, unsigned height) { return "GIF89a"s + Le(width, 2) + Le(height, 2) + Zeros(3); }

/// Size, transparency, delay in 1/100 s, colour, end.
std::string Control(unsigned delay, bool transparent = false) {
  return "\x21\xF9\x04"s + (transparent ? '\1' : '\0') + Le(delay, 2) + "\0\0"s;
}

/// Place, size, no colour table; code size; two sub-blocks; end.
const std::string kImage = "\x2C"s + Zeros(4) + Le(1, 2) + Le(1, 2) + "\0"s + "\x02"s + "\2ab\1c\0"s;
const std::string kTrailer = ";";
const std::string kLoop = "\x21\xFF\x0BNETSCAPE2.0\x03\x01\x00\x00\x00"s;

std::string Xmp(const std::string& packet) {
  std::string trailer = "\1"s;
  for (int value = 0xFF; value >= 0; --value) trailer += static_cast<char>(value);
  return "\x21\xFF\x0BXMP DataXMP"s + packet + trailer + "\0"s;
}

TEST(Gif, TellsTheSizeOfItsScreen) {
  const auto headers = ReadPicture(Screen(122, 76) + kImage + kTrailer);
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->type, imagecore::kPictureGif);
  EXPECT_EQ(headers->fourcc, FourCC("GIF "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->bit_depth, 8);
  EXPECT_EQ(headers->chroma_sampling, codec::kChromaRgb);
  EXPECT_FALSE(headers->animation);
  ExpectSize(ReadPicture("GIF87a" + Screen(5, 4).substr(6) + kImage), 5, 4);
  EXPECT_FALSE(ReadPicture(Screen(0, 76) + kImage));
}

TEST(Gif, TellsAlphaFromItsFirstFrame) {
  const auto alpha = [](const std::string& blocks) { return ReadPicture(Screen(1, 1) + blocks)->alpha; };
  EXPECT_EQ(alpha(Control(0, true) + kImage), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(Control(0, false) + kImage + Control(0, true) + kImage), imagecore::kAlphaNone);
  EXPECT_EQ(alpha(kImage + Control(0, true) + kImage), imagecore::kAlphaNone);
  EXPECT_EQ(alpha(Control(0, true)), std::nullopt) << "no frame";
}

TEST(Gif, AddsUpDelaysAsTheyStand) {
  const auto animation = [](const std::string& blocks) {
    return ReadPicture(Screen(1, 1) + kLoop + blocks)->animation;
  };
  const auto even = animation(Control(4) + kImage + Control(4) + kImage + Control(4) + kImage + kTrailer);
  ASSERT_TRUE(even);
  EXPECT_DOUBLE_EQ(even->duration_s, 0.12);
  EXPECT_EQ(even->frame_rate, (core::Rational{25, 1}));
  const auto uneven = animation(Control(10) + kImage + kImage + Control(0) + kImage + Control(1) + kImage + kTrailer);
  EXPECT_DOUBLE_EQ(uneven->duration_s, 0.11);
  EXPECT_EQ(uneven->frame_rate, (core::Rational{400, 11})) << "the mean";
  const auto instant = animation(kImage + kImage + kTrailer);
  EXPECT_EQ(instant->duration_s, 0);
  EXPECT_EQ(instant->frame_rate, std::nullopt);
  EXPECT_FALSE(animation(Control(10) + kImage + kTrailer)) << "a single frame stands still";
}

TEST(Gif, EndsAtItsTrailer) {
  EXPECT_FALSE(ReadPicture(Screen(1, 1) + Control(4) + kImage + kTrailer + Control(4) + kImage)->animation);
}

TEST(Gif, SkipsColorTablesExtensionsAndStrayZeros) {
  const std::string screen = "GIF89a"s + Le(7, 2) + Le(5, 2) + "\xF1\0\0"s + std::string(3 * 4, ';');
  const std::string image = "\x2C"s + Zeros(8) + "\x80"s + std::string(3 * 2, ';') + "\x02\1c\0"s;
  const std::string comment = "\x21\xFE\3abc\1;\0"s;
  const std::string odd_control = "\x21\xF9\x02zz\0"s;
  const std::string unnamed_application = "\x21\xFF\0"s;
  const auto headers = ReadPicture(screen + comment + odd_control + unnamed_application + Control(4) + image + "\0\0"s +
                                   Control(6) + image + kTrailer);
  ExpectSize(headers, 7, 5);
  ASSERT_TRUE(headers->animation);
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 0.1);
}

TEST(Gif, CutsOutXmpAndGoesOnBehindIt) {
  // Packets of many lengths, so that a reader of sub-blocks lands on many places of the trailer.
  for (std::size_t length = 1; length < 600; ++length) {
    std::string packet = "<x>" + std::string(length, 'p') + "</x>";
    const auto headers = ReadPicture(Screen(1, 1) + Xmp(packet) + Control(4) + kImage + Control(4) + kImage + kTrailer);
    ASSERT_EQ(headers->metadata.xmp, packet);
    ASSERT_TRUE(headers->animation);
  }
}

TEST(Gif, LeavesXmpOutThatIsTooLong) {
  const std::string packet(kMostMetadataBytes, 'p');
  EXPECT_EQ(ReadPicture(Screen(1, 1) + Xmp(packet) + kImage)->metadata.xmp.size(), kMostMetadataBytes);
  const auto headers = ReadPicture(Screen(1, 1) + Xmp(packet + "p") + kImage);
  EXPECT_EQ(headers->metadata.xmp, "");
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone) << "the frame behind it";
}

TEST(Gif, TellsTheSameSizeHoweverEarlyTheFileEnds) {
  ExpectSameSizeOfEveryPrefix(Screen(122, 76) + kLoop + Xmp("<x/>") + Control(4) + kImage + kTrailer, 10);
}

TEST(Gif, HasTheFramesThatACutFileStillHas) {
  const std::string file = Screen(1, 1) + Control(4) + kImage + Control(4) + kImage;
  EXPECT_DOUBLE_EQ(ReadPicture(file + Control(4) + kImage.substr(0, 12))->animation->duration_s, 0.12);
  EXPECT_DOUBLE_EQ(ReadPicture(file + Control(4) + kImage.substr(0, 9))->animation->duration_s, 0.08);
}

TEST(Gif, CountsAHundredThousandFrames) {
  RepeatingSource source(Screen(1, 1), Control(4) + kImage, 100000, kTrailer);
  std::string reason;
  const auto headers = ReadPictureHeaders(source, &reason);
  ASSERT_TRUE(headers->animation);
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 4000);
  EXPECT_EQ(headers->animation->frame_rate, (core::Rational{25, 1}));
}

TEST(Gif, LeavesAnAnimationOutThatItDoesNotSeeTheEndOf) {
  SparseSource source(std::uint64_t{1} << 40);  // zeros between blocks for ever
  source.Put(0, Screen(1, 1) + Control(4) + kImage + Control(4) + kImage);
  std::string reason;
  const auto headers = ReadPictureHeaders(source, &reason);
  ExpectSize(headers, 1, 1);
  EXPECT_FALSE(headers->animation);
  EXPECT_LE(source.BytesRead(), kMostGifBytes + 256 * 1024);
}

}  // namespace
}  // namespace media_server::image
