#include "media-server/image/heif_sequence.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "media-server/image/heif.h"
#include "tests/media-server/image/heif_builder.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string MovieHeader(std::uint32_t ticks, const std::string& times = Zeros(8)) {
  return FullBox("mvhd", times + Be(1000, 4) + Be(ticks, 4) + Zeros(80));
}

std::string Sequence(const std::string& tracks, std::uint32_t movie_ticks = 0) {
  return Box("ftyp", "msf1" + Zeros(4) + "hevc") + Box("moov", MovieHeader(movie_ticks) + tracks);
}

PictureHeaders Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadHeif(source, headers));
  return headers;
}

TEST(HeifSequence, ItsTrackTellsAllWithoutAPrimaryItem) {
  const PictureHeaders headers = Read(Sequence(HeifTrack().Bytes()));
  ASSERT_TRUE(headers.animation);
  EXPECT_DOUBLE_EQ(headers.animation->duration_s, 4.8);
  EXPECT_EQ(headers.animation->frame_rate, (core::Rational{25, 1}));
  EXPECT_EQ(headers.size, (PictureSize{256, 144}));
  EXPECT_EQ(headers.fourcc, FourCC("hvc1"));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers.orientation, Orientation());
}

TEST(HeifSequence, ThePrimaryItemHoldsOverTheTrack) {
  HeifFile file;
  file.items = {{.id = 1, .type = "av01", .properties = {1}}};
  file.properties = {Extents(800, 450)};
  file.boxes_behind = Box("moov", MovieHeader(0) + HeifTrack().Bytes());
  const PictureHeaders headers = Read(file.Bytes());
  EXPECT_EQ(headers.size, (PictureSize{800, 450}));
  EXPECT_EQ(headers.fourcc, FourCC("av01"));
  ASSERT_TRUE(headers.animation);
  EXPECT_DOUBLE_EQ(headers.animation->duration_s, 4.8);
}

TEST(HeifSequence, TheTrackTellsHowToTurnThePictureThatItHolds) {
  using enum imagecore::Flip;
  EXPECT_EQ(Read(Sequence(HeifTrack{.matrix = {0, 1, -1, 0}}.Bytes())).orientation, (Orientation{kFlipNone, 90}));
  EXPECT_EQ(Read(Sequence(HeifTrack{.matrix = {0, -1, -1, 0}}.Bytes())).orientation,
            (Orientation{kFlipHorizontal, 90}));
  EXPECT_FALSE(Read(Sequence(HeifTrack{.matrix = {0, 0, 0, 0}}.Bytes())).orientation) << "Exif may tell";
  HeifFile file;
  file.items = {{.id = 1, .type = "av01", .properties = {1, 2}}};
  file.properties = {Extents(800, 450), Rotation(1)};
  file.boxes_behind = Box("moov", MovieHeader(0) + HeifTrack{.matrix = {0, 1, -1, 0}}.Bytes());
  EXPECT_EQ(Read(file.Bytes()).orientation, (Orientation{kFlipNone, 270})) << "the primary item's";
}

TEST(HeifSequence, TheMovieTellsItsDates) {
  constexpr std::uint32_t kFrom1904 = 2082844800;
  const auto dates = [](const std::string& times) {
    return Read(Box("ftyp", "msf1" + Zeros(4) + "hevc") + Box("moov", MovieHeader(0, times) + HeifTrack().Bytes()))
        .metadata;
  };
  const EmbeddedMetadata both = dates(Be(kFrom1904 + 5, 4) + Be(kFrom1904 + 6, 4));
  EXPECT_EQ(both.created, 5);
  EXPECT_EQ(both.modified, 6);
  EXPECT_EQ(dates(Zeros(8)).created, std::nullopt);
  EXPECT_EQ(dates(Zeros(8)).modified, std::nullopt);
}

TEST(HeifSequence, VideoTracksCountAndSoundDoesNot) {
  EXPECT_TRUE(Read(Sequence(HeifTrack{.handler = "vide"}.Bytes())).animation);
  MemorySource source(Sequence(HeifTrack{.handler = "soun"}.Bytes(), 5000));
  PictureHeaders headers;
  EXPECT_FALSE(ReadHeif(source, headers));
  EXPECT_FALSE(headers.animation);
}

TEST(HeifSequence, ItsPicturesTellTheLengthWhereTheTrackDoesNot) {
  const PictureHeaders headers = Read(Sequence(HeifTrack{.duration = 0}.Bytes(), 2500));
  ASSERT_TRUE(headers.animation);
  EXPECT_DOUBLE_EQ(headers.animation->duration_s, 120 * 3600 / 90000.0);
}

TEST(HeifSequence, TheMovieTellsTheLengthWhereTheTrackDoesNot) {
  const PictureHeaders headers = Read(Sequence(HeifTrack{.duration = 0, .decoding_times = Be(0, 4)}.Bytes(), 2500));
  ASSERT_TRUE(headers.animation);
  EXPECT_DOUBLE_EQ(headers.animation->duration_s, 2.5);
}

TEST(HeifSequence, WithoutALengthItIsAStill) {
  EXPECT_FALSE(Read(Sequence(HeifTrack{.duration = 0, .decoding_times = Be(0, 4)}.Bytes())).animation);
}

TEST(HeifSequence, ASinglePictureIsAStill) {
  EXPECT_FALSE(Read(Sequence(HeifTrack{.samples = 1}.Bytes())).animation);
  EXPECT_TRUE(Read(Sequence(HeifTrack{.samples = 2}.Bytes())).animation);
}

TEST(HeifSequence, FramesOfUnequalLengthHaveNoRate) {
  const std::string two_lengths = Be(2, 4) + Be(5, 4) + Be(3600, 4) + Be(5, 4) + Be(1800, 4);
  const PictureHeaders headers = Read(Sequence(HeifTrack{.decoding_times = two_lengths}.Bytes()));
  ASSERT_TRUE(headers.animation);
  EXPECT_FALSE(headers.animation->frame_rate);
}

TEST(HeifSequence, AnAuxiliaryTrackMayBeAlpha) {
  const std::string alpha = FullBox("auxi", "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha\0"s);
  const std::string depth = FullBox("auxi", "urn:mpeg:hevc:2015:auxid:2\0"s);
  const std::string picture = HeifTrack().Bytes();
  EXPECT_EQ(Read(Sequence(picture + HeifTrack{.handler = "auxv", .entry_boxes = alpha}.Bytes())).alpha,
            imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Sequence(picture + HeifTrack{.handler = "auxv", .entry_boxes = depth}.Bytes())).alpha,
            imagecore::kAlphaNone);
}

TEST(HeifSequence, CutAnywhereTellsNoWrongSize) {
  const std::string whole = Sequence(HeifTrack().Bytes());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    MemorySource source(whole.substr(0, size));
    PictureHeaders headers;
    if (ReadHeif(source, headers) && headers.size->width != 0) {
      EXPECT_EQ(headers.size->width, 256U) << size;
      EXPECT_TRUE(headers.animation) << size;
    }
  }
}

TEST(HeifSequence, ALongTableOfTimesIsNotRead) {
  std::string times = Be(100000, 4);
  for (int i = 0; i < 100000; ++i) times += Be(1, 4) + Be(3600, 4);
  MemorySource source(Sequence(HeifTrack{.decoding_times = times}.Bytes()));
  PictureHeaders headers;
  ASSERT_TRUE(ReadHeif(source, headers));
  EXPECT_TRUE(headers.animation);
  EXPECT_FALSE(headers.animation->frame_rate);
  EXPECT_LE(source.BytesRead(), 256 * 1024U);
}

}  // namespace
}  // namespace media_server::image
