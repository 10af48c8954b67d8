#include "media-server/image/heif.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/heif_builder.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kXmpId = "\xbe\x7a\xcf\xcb\x97\xa9\x42\xe8\x9c\x71\x99\x94\x91\xe3\xaf\xac";
constexpr char kAlphaType[] = "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha";

/// One picture of 4032 x 3024.
HeifFile OnePicture() {
  return {.items = {{.id = 1, .type = "hvc1", .properties = {1}, .data = "picture"}},
          .properties = {Extents(4032, 3024)}};
}

/// One picture with its alpha plane as item 2.
HeifFile WithAlpha(const std::string& type) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 2, .properties = {1, 2}});
  file.properties.push_back(AuxiliaryType(type));
  file.references = {{.type = "auxl", .from = 2, .to = {1}}};
  return file;
}

PictureHeaders Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  EXPECT_TRUE(ReadHeif(source, headers));
  return headers;
}

bool IsRefused(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  return !ReadHeif(source, headers);
}

std::string TextOf(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

TEST(Heif, TellsThePrimaryItem) {
  const PictureHeaders headers = Read(OnePicture().Bytes());
  EXPECT_EQ(headers.type, imagecore::kPictureHeif);
  EXPECT_EQ(headers.fourcc, FourCC("hvc1"));
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers.orientation, Orientation());
  EXPECT_FALSE(headers.animation);
  EXPECT_FALSE(HasPayload(headers.metadata));
}

TEST(Heif, AvifIsATypeOfItsOwn) {
  HeifFile file = OnePicture();
  file.brand = "avif";
  file.items[0].type = "av01";
  MemorySource source(file.Bytes());
  PictureHeaders headers;
  ASSERT_TRUE(ReadAvif(source, headers));
  EXPECT_EQ(headers.type, imagecore::kPictureAvif);
  EXPECT_EQ(headers.fourcc, FourCC("av01"));
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
}

TEST(Heif, ThumbnailsInFrontOfThePrimaryItemAreNotIt) {
  HeifFile file = OnePicture();
  file.items.insert(file.items.begin(), {.id = 7, .type = "jpeg", .properties = {2, 3}});
  file.properties.push_back(Extents(320, 240));
  file.properties.push_back(Rotation(1));
  const PictureHeaders headers = Read(file.Bytes());
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(headers.fourcc, FourCC("hvc1"));
  EXPECT_EQ(headers.orientation, Orientation());
}

TEST(Heif, ReadsItemNumbersOf32Bits) {
  HeifFile file = WithAlpha(kAlphaType);
  file.has_wide_ids = true;
  file.has_wide_properties = true;
  file.primary = 0x10001;
  file.items[0].id = 0x10001;
  file.references[0].to = {0x10001};
  file.items.push_back({.id = 0x10002, .type = "Exif", .data = Be(0, 4) + "II*\0more"s});
  const PictureHeaders headers = Read(file.Bytes());
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(headers.alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(TextOf(headers.metadata.exif), "II*\0more"s);
}

TEST(Heif, EssentialPropertiesAreMarkedInTheTopBit) {
  for (const bool has_wide_properties : {false, true}) {
    HeifFile file = OnePicture();
    file.has_wide_properties = has_wide_properties;
    file.properties.push_back(Rotation(2));
    file.items[0].properties = {1, has_wide_properties ? 0x8002U : 0x82U};
    EXPECT_EQ(Read(file.Bytes()).orientation, (Orientation{imagecore::kFlipNone, 180}));
  }
}

TEST(Heif, AssociationsOfPropertiesThatAreNotThereAreSkipped) {
  HeifFile file = OnePicture();
  file.items[0].properties = {0, 2, 127, 1};
  EXPECT_EQ(Read(file.Bytes()).size, (PictureSize{4032, 3024}));
}

TEST(Heif, CleanApertureLeavesTheStoredSize) {
  HeifFile file = OnePicture();
  file.properties.push_back(Box("clap", Be(385, 4) + Be(1, 4) + Be(330, 4) + Be(1, 4)  // width, height
                                            + Be(0, 4) + Be(1, 4) + Be(0, 4) + Be(1, 4)));
  file.items[0].properties = {1, 2};
  EXPECT_EQ(Read(file.Bytes()).size, (PictureSize{4032, 3024}));
}

TEST(Heif, IsRefusedWithoutASize) {
  HeifFile without_extents = OnePicture();
  without_extents.items[0].properties = {};
  EXPECT_TRUE(IsRefused(without_extents.Bytes()));
  HeifFile without_primary = OnePicture();
  without_primary.primary = 9;
  EXPECT_TRUE(IsRefused(without_primary.Bytes()));
  EXPECT_TRUE(IsRefused(Box("ftyp", "heic" + Zeros(4)) + Box("mdat", "picture")));
  EXPECT_TRUE(IsRefused(""));
}

TEST(Heif, AGridIsCodedAsItsTiles) {
  HeifFile file = OnePicture();
  file.items = {{.id = 1, .type = "grid", .properties = {1}},
                {.id = 2, .type = "av01", .properties = {2}},
                {.id = 3, .type = "av01", .properties = {2}}};
  file.properties.push_back(Extents(512, 512));
  file.references = {{.type = "dimg", .from = 1, .to = {2, 3}}};
  const PictureHeaders headers = Read(file.Bytes());
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(headers.fourcc, FourCC("av01"));
}

TEST(Heif, DerivationsMayStandOnDerivations) {
  HeifFile file = OnePicture();
  file.items = {{.id = 1, .type = "tmap", .properties = {1}},
                {.id = 2, .type = "iovl"},
                {.id = 3, .type = "grid"},
                {.id = 4, .type = "hvc1"}};
  file.references = {{.type = "dimg", .from = 1, .to = {2, 4}},
                     {.type = "dimg", .from = 2, .to = {3}},
                     {.type = "dimg", .from = 3, .to = {4}}};
  EXPECT_EQ(Read(file.Bytes()).fourcc, FourCC("hvc1"));
}

TEST(Heif, AGridOrOverlayWithoutExtentsIsSizedByItsPayload) {
  // Version; flags: bit 0 for sizes of 32 bits.
  const std::string rows_and_columns = Be(5, 1) + Be(7, 1);
  const std::string background = Zeros(8);
  const std::string offsets = Zeros(8);
  const std::pair<std::string, std::string> cases[] = {
      {"grid", Be(0, 1) + Be(0, 1) + rows_and_columns + Be(4000, 2) + Be(3000, 2)},
      {"grid", Be(0, 1) + Be(1, 1) + rows_and_columns + Be(4000, 4) + Be(3000, 4)},
      {"iovl", Be(0, 1) + Be(0, 1) + background + Be(4000, 2) + Be(3000, 2) + offsets},
      {"iovl", Be(0, 1) + Be(1, 1) + background + Be(4000, 4) + Be(3000, 4) + offsets},
  };
  for (const auto& [type, payload] : cases) {
    for (const bool in_meta : {false, true}) {
      HeifFile file;
      file.items = {{.id = 1, .type = type, .data = payload, .in_meta = in_meta}};
      EXPECT_EQ(Read(file.Bytes()).size, (PictureSize{4000, 3000})) << type << in_meta;
    }
  }
}

TEST(Heif, AnIdentityWithoutExtentsHasTheSizeOfItsSource) {
  HeifFile file = OnePicture();
  file.items = {{.id = 1, .type = "iden"}, {.id = 2, .type = "hvc1", .properties = {1}}};
  file.references = {{.type = "dimg", .from = 1, .to = {2}}};
  const PictureHeaders headers = Read(file.Bytes());
  EXPECT_EQ(headers.size, (PictureSize{4032, 3024}));
  EXPECT_EQ(headers.fourcc, FourCC("hvc1"));
}

struct TransformCase {
  std::vector<std::string> steps;
  Orientation expected;
};

TEST(Heif, TransformationsAreOneFlipThenOneRotation) {
  using enum imagecore::Flip;
  const TransformCase cases[] = {
      {{Rotation(0)}, {kFlipNone, 0}},
      {{Rotation(1)}, {kFlipNone, 270}},
      {{Rotation(2)}, {kFlipNone, 180}},
      {{Rotation(3)}, {kFlipNone, 90}},
      {{Mirror(0)}, {kFlipVertical, 0}},
      {{Mirror(1)}, {kFlipHorizontal, 0}},
      {{Mirror(1), Rotation(1)}, {kFlipHorizontal, 270}},
      {{Rotation(1), Mirror(1)}, {kFlipHorizontal, 90}},
      {{Rotation(1), Mirror(0)}, {kFlipHorizontal, 270}},
      {{Rotation(3), Mirror(0)}, {kFlipHorizontal, 90}},
      {{Mirror(1), Rotation(2)}, {kFlipVertical, 0}},
      {{Mirror(0), Mirror(1)}, {kFlipNone, 180}},
      {{Rotation(1), Rotation(1)}, {kFlipNone, 180}},
      {{Box("irot"), Box("imir")}, {kFlipNone, 0}},
  };
  for (const TransformCase& each : cases) {
    HeifFile file = OnePicture();
    for (const std::string& step : each.steps) {
      file.properties.push_back(step);
      file.items[0].properties.push_back(static_cast<unsigned>(file.properties.size()));
    }
    const auto orientation = Read(file.Bytes()).orientation;
    ASSERT_TRUE(orientation);
    EXPECT_EQ(*orientation, each.expected) << "case " << &each - cases;
  }
}

TEST(Heif, TransformationsGoInTheOrderOfTheirAssociation) {
  HeifFile file = OnePicture();
  file.properties = {Mirror(1), Rotation(1), Extents(4032, 3024)};
  file.items[0].properties = {3, 2, 1};
  EXPECT_EQ(Read(file.Bytes()).orientation, (Orientation{imagecore::kFlipHorizontal, 90}));
}

TEST(Heif, AnAuxiliaryPictureMayBeAlpha) {
  for (const char* const type : {kAlphaType, "urn:mpeg:hevc:2015:auxid:1", "urn:mpeg:avc:2015:auxid:1"}) {
    EXPECT_EQ(Read(WithAlpha(type).Bytes()).alpha, imagecore::kAlphaStraight) << type;
  }
  EXPECT_EQ(Read(WithAlpha("urn:mpeg:hevc:2015:auxid:2").Bytes()).alpha, imagecore::kAlphaNone);
}

TEST(Heif, AlphaOfAnotherPictureIsNotThePrimaryItems) {
  HeifFile file = WithAlpha(kAlphaType);
  file.references[0].to = {5};
  EXPECT_EQ(Read(file.Bytes()).alpha, imagecore::kAlphaNone);
}

TEST(Heif, AReferenceTellsThatColoursArePremultiplied) {
  HeifFile file = WithAlpha(kAlphaType);
  file.references.push_back({.type = "prem", .from = 1, .to = {2}});
  EXPECT_EQ(Read(file.Bytes()).alpha, imagecore::kAlphaPremultiplied);
  file.references[1].to = {5};
  EXPECT_EQ(Read(file.Bytes()).alpha, imagecore::kAlphaStraight);
}

TEST(Heif, ExifAndXmpDescribeThePrimaryItem) {
  HeifFile file = OnePicture();
  const std::string rdf = "application/rdf+xml\0"s;
  file.items.push_back({.id = 3, .type = "Exif", .data = Be(0, 4) + "II*\0map"s});
  file.items.push_back({.id = 4, .type = "Exif", .data = Be(6, 4) + "Exif\0\0MM\0*picture"s});
  file.items.push_back({.id = 5, .type = "mime", .data = "<map/>", .mime = rdf});
  file.items.push_back({.id = 6, .type = "mime", .data = "<picture/>", .in_meta = true, .mime = rdf});
  file.items.push_back({.id = 7, .type = "mime", .data = "text", .mime = "text/plain\0"s});
  file.references = {{.type = "cdsc", .from = 3, .to = {9}},
                     {.type = "cdsc", .from = 5, .to = {9}},
                     {.type = "cdsc", .from = 7, .to = {1}},
                     {.type = "cdsc", .from = 6, .to = {8, 1}},
                     {.type = "cdsc", .from = 4, .to = {1}}};
  const EmbeddedMetadata metadata = Read(file.Bytes()).metadata;
  EXPECT_EQ(TextOf(metadata.exif), "MM\0*picture"s);
  EXPECT_EQ(metadata.xmp, "<picture/>");
  EXPECT_TRUE(metadata.further_xmp.empty());
}

TEST(Heif, MetadataThatDescribeNothingAreThePictures) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 3, .type = "Exif", .data = Be(0, 4) + "II*\0first"s});
  file.items.push_back({.id = 4, .type = "Exif", .data = Be(0, 4) + "II*\0second"s});
  file.items.push_back({.id = 5, .type = "mime", .data = "<x/>", .mime = "application/rdf+xml\0\0"s});
  file.references = {{.type = "cdsc", .from = 8, .to = {1}}};
  const EmbeddedMetadata metadata = Read(file.Bytes()).metadata;
  EXPECT_EQ(TextOf(metadata.exif), "II*\0first"s);
  EXPECT_EQ(metadata.xmp, "<x/>");
}

TEST(Heif, MetadataOfAnotherItemAreLeftOut) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 3, .type = "Exif", .data = Be(0, 4) + "II*\0map"s});
  file.references = {{.type = "cdsc", .from = 3, .to = {9}}};
  EXPECT_FALSE(HasPayload(Read(file.Bytes()).metadata));
}

TEST(Heif, XmpMayLieInABoxOfItsOwn) {
  HeifFile file = OnePicture();
  file.boxes_behind = Box("uuid", kXmpId + "<x/>") + Box("uuid", kXmpId + "<second/>");
  EXPECT_EQ(Read(file.Bytes()).metadata.xmp, "<x/>");
  file.boxes_behind = Box("uuid", kXmpId + std::string(112 * 1024, 'x'));
  EXPECT_EQ(Read(file.Bytes()).metadata.xmp.size(), 112 * 1024U);
  file.boxes_behind = Box("uuid", kXmpId + std::string(112 * 1024 + 1, 'x'));
  EXPECT_EQ(Read(file.Bytes()).metadata.xmp, "");
  file.boxes_behind = Box("uuid", std::string(16, 'o') + "<x/>");
  EXPECT_EQ(Read(file.Bytes()).metadata.xmp, "");
}

TEST(Heif, AnItemOfXmpComesBeforeTheBox) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 5, .type = "mime", .data = "<item/>", .mime = "application/rdf+xml\0"s});
  file.boxes_behind = Box("uuid", kXmpId + "<box/>");
  const EmbeddedMetadata metadata = Read(file.Bytes()).metadata;
  EXPECT_EQ(metadata.xmp, "<item/>");
  EXPECT_EQ(metadata.further_xmp, std::vector<std::string>{"<box/>"});
}

TEST(Heif, CompressedXmpIsLeftOut) {
  HeifFile file = OnePicture();
  file.items.push_back({.id = 5, .type = "mime", .data = "<x/>", .mime = "application/rdf+xml\0deflate\0"s});
  EXPECT_FALSE(HasPayload(Read(file.Bytes()).metadata));
}

TEST(Heif, CutAnywhereTellsTheWholeTruthOrNothing) {
  HeifFile file = WithAlpha(kAlphaType);
  file.properties.push_back(Rotation(1));
  file.items[0].properties = {1, 3};
  file.items[0].data = Zeros(16);
  file.items.push_back({.id = 3, .type = "Exif", .data = Be(0, 4) + "II*\0more"s});
  const std::string whole = file.Bytes();
  const std::size_t headers_end = whole.find("mdat") - 4;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    MemorySource source(whole.substr(0, size));
    PictureHeaders headers;
    const bool is_read = ReadHeif(source, headers);
    EXPECT_LE(source.BytesRead(), 64 * 1024U);
    EXPECT_TRUE(is_read || size < headers_end) << size;
    EXPECT_TRUE(!is_read || headers.size == (PictureSize{4032, 3024})) << size;
    EXPECT_EQ(TextOf(headers.metadata.exif), size < whole.size() ? ""s : "II*\0more"s) << size;
  }
}

}  // namespace
}  // namespace media_server::image
