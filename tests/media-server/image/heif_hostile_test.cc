#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "media-server/image/heif.h"
#include "tests/media-server/image/heif_builder.h"

// Files that try to make the reader walk, read or allocate without end. The bounds are of bytes and reads: they hold on
// any machine.

namespace media_server::image {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t kMostBytes = 256 * 1024;
constexpr std::uint64_t kMostReads = 1024;

struct Outcome {
  bool is_read = false;
  PictureHeaders headers;
};

Outcome ReadWithinBounds(const std::string& bytes) {
  MemorySource source(bytes);
  Outcome outcome;
  outcome.is_read = ReadHeif(source, outcome.headers);
  EXPECT_LE(source.BytesRead(), kMostBytes);
  EXPECT_LE(source.Reads(), kMostReads);
  return outcome;
}

HeifFile OnePicture() {
  return {.items = {{.id = 1, .type = "hvc1", .properties = {1}}}, .properties = {Extents(4032, 3024)}};
}

TEST(HeifHostile, DerivationsInACircleEnd) {
  HeifFile file = OnePicture();
  file.items = {{.id = 1, .type = "iden"}, {.id = 2, .type = "iden", .properties = {1}}};
  file.references = {{.type = "dimg", .from = 1, .to = {2}}, {.type = "dimg", .from = 2, .to = {1}}};
  EXPECT_FALSE(ReadWithinBounds(file.Bytes()).is_read);
  file.references = {{.type = "dimg", .from = 1, .to = {1}}};
  EXPECT_FALSE(ReadWithinBounds(file.Bytes()).is_read);
}

TEST(HeifHostile, AGridOfItselfHasASizeButNoCodedPicture) {
  HeifFile file = OnePicture();
  file.items[0].type = "grid";
  file.references = {{.type = "dimg", .from = 1, .to = {1, 1, 1}}};
  const Outcome outcome = ReadWithinBounds(file.Bytes());
  EXPECT_TRUE(outcome.is_read);
  EXPECT_EQ(outcome.headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(outcome.headers.fourcc, 0U);
}

TEST(HeifHostile, AnAlphaPlaneOfItselfIsTaken) {
  HeifFile file = OnePicture();
  file.properties.push_back(AuxiliaryType("urn:mpeg:hevc:2015:auxid:1"));
  file.items[0].properties = {1, 2};
  file.references = {{.type = "auxl", .from = 1, .to = {1}}};
  EXPECT_EQ(ReadWithinBounds(file.Bytes()).headers.alpha, imagecore::kAlphaStraight);
}

TEST(HeifHostile, ThousandsOfAuxiliaryPicturesAreNotAllLookedAt) {
  HeifFile file = OnePicture();
  for (std::uint32_t id = 2; id < 4000; ++id) file.references.push_back({.type = "auxl", .from = id, .to = {1}});
  EXPECT_EQ(ReadWithinBounds(file.Bytes()).headers.alpha, imagecore::kAlphaNone);
}

TEST(HeifHostile, ThousandsOfMetadataItemsThatOverlapCostTheirBudget) {
  HeifFile file = OnePicture();
  const std::string block = Be(0, 4) + "II*\0"s + std::string(60000, 'x');
  file.items.push_back({.id = 2, .type = "Exif", .data = block});
  for (std::uint32_t id = 3; id < 30; ++id) {
    file.items.push_back({.id = id, .type = "mime", .data = std::string(30000, 'x'), .mime = "application/rdf+xml\0"s});
  }
  const Outcome outcome = ReadWithinBounds(file.Bytes());
  EXPECT_TRUE(outcome.is_read);
  EXPECT_EQ(outcome.headers.metadata.exif.size(), 60004U);
  EXPECT_EQ(outcome.headers.metadata.xmp.size(), 30000U);
  EXPECT_TRUE(outcome.headers.metadata.further_xmp.empty());
}

TEST(HeifHostile, MetadataLongerThanTheBudgetAreLeftOut) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 2, .type = "Exif", .data = Be(0, 4) + "II*\0"s + std::string(200000, 'x')});
  file.items.push_back({.id = 3, .type = "mime", .data = "<x/>", .mime = "application/rdf+xml\0"s});
  const Outcome outcome = ReadWithinBounds(file.Bytes());
  EXPECT_TRUE(outcome.is_read);
  EXPECT_TRUE(outcome.headers.metadata.exif.empty());
  EXPECT_EQ(outcome.headers.metadata.xmp, "<x/>");
}

TEST(HeifHostile, ThousandsOfBoxesInFrontOfTheHeadersAreTooMany) {
  std::string boxes;
  for (int i = 0; i < 5000; ++i) boxes += Box("free", Zeros(1000));
  EXPECT_FALSE(ReadWithinBounds(Box("ftyp", "heic" + Zeros(4)) + boxes + OnePicture().Bytes()).is_read);
}

TEST(HeifHostile, BoxesInBoxesEnd) {
  std::string nested = Box("iinf", Zeros(6));
  for (int i = 0; i < 2000; ++i) nested = FullBox("meta", nested);
  EXPECT_FALSE(ReadWithinBounds(Box("ftyp", "heic" + Zeros(4)) + nested).is_read);
}

TEST(HeifHostile, ASecondMetaBoxIsNotRead) {
  const std::string first = OnePicture().Bytes();
  HeifFile other = OnePicture();
  other.properties = {Extents(1, 1)};
  EXPECT_EQ(ReadWithinBounds(first + other.Bytes()).headers.size, (PictureSize{4032, 3024}));
}

TEST(HeifHostile, AMetaBoxBeyondTheFileIsReadAsFarAsItGoes) {
  std::string bytes = OnePicture().Bytes();
  const std::size_t meta = bytes.find("meta") - 4;
  bytes.replace(meta, 4, Be(UINT32_MAX, 4));
  EXPECT_EQ(ReadWithinBounds(bytes).headers.size, (PictureSize{4032, 3024}));
}

TEST(HeifHostile, AllBoundsAtOnceStayWithinTheBytesOfAStill) {
  HeifFile file = OnePicture();
  for (std::uint32_t id = 100; id < 4000; ++id) file.items.push_back({.id = id});
  file.items.push_back({.id = 2, .type = "Exif", .data = Be(0, 4) + "II*\0"s + std::string(100000, 'x')});
  std::string times = Be(3000, 4);
  for (int i = 0; i < 3000; ++i) times += Be(1, 4) + Be(3600, 4);
  file.boxes_behind = Box("moov", HeifTrack{.decoding_times = times}.Bytes());
  ReadWithinBounds(file.Bytes());
}

}  // namespace
}  // namespace media_server::image
