#include "media-server/image/open_exr.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

#include "media-server/image/exif_tags.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/zone.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kMagic = "\x76\x2f\x31\x01"s;

std::string Attribute(const std::string& name, const std::string& type, const std::string& value) {
  return name + '\0' + type + '\0' + Le(value.size(), 4) + value;
}

std::string Window(std::int32_t left, std::int32_t top, std::int32_t right, std::int32_t bottom) {
  std::string value;
  for (const std::int32_t edge : {left, top, right, bottom}) value += Le(static_cast<std::uint32_t>(edge), 4);
  return value;
}

std::string Channels(const std::string& names) {
  std::string value;
  for (const char name : names) value += name + "\0"s + Zeros(16);
  return Attribute("channels", "chlist", value + '\0');
}

std::string DataWindow(const std::string& window) { return Attribute("dataWindow", "box2i", window); }

std::string File(const std::string& attributes, std::uint32_t flags = 0) {
  return kMagic + Le(2 | flags, 4) + attributes + '\0' + Zeros(8);
}

std::string Number(const std::string& name, float value) {
  return Attribute(name, "float", Le(std::bit_cast<std::uint32_t>(value), 4));
}

std::optional<PictureHeaders> Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!ReadOpenExr(source, headers)) return std::nullopt;
  return headers;
}

TEST(OpenExr, StoredPictureIsTheDataWindow) {
  const auto headers = Read(File(Channels("BGR") + Attribute("displayWindow", "box2i", Window(0, 0, 99, 99)) +
                                 DataWindow(Window(-5, 10, 31, 32))));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
  EXPECT_EQ(headers->type, imagecore::kPictureOpenExr);
  EXPECT_EQ(headers->fourcc, FourCC("EXR "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
}

TEST(OpenExr, ChannelAIsPremultipliedAlpha) {
  EXPECT_EQ(Read(File(Channels("ABGR") + DataWindow(Window(0, 0, 1, 1))))->alpha, imagecore::kAlphaPremultiplied);
  EXPECT_EQ(Read(File(DataWindow(Window(0, 0, 1, 1)) + Channels("YA")))->alpha, imagecore::kAlphaPremultiplied);
}

TEST(OpenExr, CutChannelListTellsNothing) {
  const std::string list = Attribute("channels", "chlist", "B\0"s + Zeros(10));
  EXPECT_FALSE(Read(File(list + DataWindow(Window(0, 0, 1, 1))))->alpha);
  const std::string name = Attribute("channels", "chlist", "B");
  EXPECT_FALSE(Read(File(name + DataWindow(Window(0, 0, 1, 1))))->alpha);
}

TEST(OpenExr, FirstPartOfSeveralCounts) {
  constexpr std::uint32_t kMultiPart = 0x1000;
  constexpr std::uint32_t kLongNames = 0x400;
  const std::string first = Channels("Y") + DataWindow(Window(0, 0, 36, 22)) + '\0';
  const std::string second = Channels("Y") + DataWindow(Window(0, 0, 9, 9));
  EXPECT_EQ(Read(File(first + second, kMultiPart))->size, (PictureSize{37, 23}));
  const std::string long_name = Attribute(std::string(255, 'n'), std::string(255, 't'), Zeros(100000));
  EXPECT_EQ(Read(File(long_name + first, kLongNames))->size, (PictureSize{37, 23}));
}

TEST(OpenExr, ImpossibleWindowsAreNone) {
  EXPECT_FALSE(Read(File(DataWindow(Window(0, 0, -1, 5)))));
  EXPECT_FALSE(Read(File(DataWindow(Window(5, 5, 3, 9)))));
  EXPECT_FALSE(Read(File(DataWindow(Window(0, 0, 5, 5).substr(0, 12)))));
  EXPECT_FALSE(Read(File(Channels("BGR"))));
  EXPECT_EQ(Read(File(DataWindow(Window(INT32_MIN, 0, INT32_MAX - 1, 0))))->size, (PictureSize{0xFFFFFFFF, 1}));
  EXPECT_FALSE(Read(File(DataWindow(Window(INT32_MIN, 0, INT32_MAX, 0)))));
}

/// Of a picture with such attributes in front of its size and behind it.
PictureTags TagsOf(const std::string& before, const std::string& behind = "") {
  PictureTags tags;
  ReadExifTags(Read(File(before + Channels("BGR") + DataWindow(Window(0, 0, 1, 1)) + behind))->metadata.exif_values,
               tags);
  return tags;
}

TEST(OpenExr, AttributesTellTheCameraAndTheShot) {
  const PictureTags tags =
      TagsOf(Attribute("cameraMake", "string", "Acme") + Attribute("cameraModel", "string", "EX-1"),
             Number("expTime", 0.125F));
  EXPECT_EQ(tags.maker, "Acme");
  EXPECT_EQ(tags.model, "EX-1");
  EXPECT_EQ(tags.exposure_time_s, 0.125);
  EXPECT_EQ(tags.created, std::nullopt);
  EXPECT_EQ(tags.latitude_degrees, std::nullopt);
}

TEST(OpenExr, PlacesAreDegreesNorthAndEast) {
  const PictureTags north_west = TagsOf("", Number("latitude", 48.5F) + Number("longitude", -74.25F));
  EXPECT_EQ(north_west.latitude_degrees, 48.5);
  EXPECT_EQ(north_west.latitude_ref, 'N');
  EXPECT_EQ(north_west.longitude_degrees, 74.25);
  EXPECT_EQ(north_west.longitude_ref, 'W');
  const PictureTags south_east = TagsOf("", Number("latitude", -33.5F) + Number("longitude", 151));
  EXPECT_EQ(south_east.latitude_ref, 'S');
  EXPECT_EQ(south_east.longitude_ref, 'E');
  EXPECT_EQ(TagsOf("", Number("latitude", -90.5F)).latitude_degrees, std::nullopt);
}

TEST(OpenExr, UtcIsTheLocalTimeAndTheOffset) {
  constexpr std::int64_t kTime = 1536048672;  // 2018-09-04 08:11:12 UTC
  const auto created = [](const std::string& clock, float offset) {
    return TagsOf(Attribute("capDate", "string", clock), Number("utcOffset", offset)).created;
  };
  EXPECT_EQ(created("2018:09:04 10:11:12", -7200), kTime);
  EXPECT_EQ(created("2018:09:04 04:41:12", 12600), kTime);
  EXPECT_EQ(created("2018:09:04 08:11:12", 0), kTime);
  const Zone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(TagsOf(Attribute("capDate", "string", "2018:09:04 10:11:12")).created, kTime);
  EXPECT_EQ(created("2018:09:04 10:11:12", 1e9F), kTime) << "no offset that exists";
}

TEST(OpenExr, AttributesOfAnotherTypeAreNotTheStandards) {
  EXPECT_EQ(TagsOf(Attribute("cameraMake", "float", Zeros(4))).maker, std::nullopt);
  EXPECT_EQ(TagsOf(Attribute("expTime", "double", Zeros(8))).exposure_time_s, std::nullopt);
  EXPECT_EQ(TagsOf(Attribute("expTime", "float", Zeros(3))).exposure_time_s, std::nullopt);
  EXPECT_EQ(TagsOf(Attribute("latitude", "float", "")).latitude_degrees, std::nullopt);
  EXPECT_EQ(TagsOf(Attribute("cameraMake", "string", std::string(100000, 'a'))).maker, std::nullopt);
}

TEST(OpenExr, ReadsNoFurtherOnceAllIsTold) {
  const std::string all = Attribute("cameraMake", "string", "a") + Attribute("cameraModel", "string", "b") +
                          Attribute("capDate", "string", "c") + Channels("Y") + DataWindow(Window(0, 0, 1, 1)) +
                          Number("expTime", 1) + Number("latitude", 1) + Number("longitude", 1) +
                          Number("utcOffset", 1);
  const auto bytes_read = [&](const std::string& known) {
    MemorySource source(File(known + Attribute("preview", "preview", Zeros(100000)) + Attribute("a", "b", "")));
    PictureHeaders headers;
    EXPECT_TRUE(ReadOpenExr(source, headers));
    return source.BytesRead();
  };
  EXPECT_LT(bytes_read(all), bytes_read(all.substr(0, all.rfind("utcOffset"))));
}

TEST(OpenExr, HeaderThatIsCutIsNone) {
  const std::string header = kMagic + Le(2, 4) + DataWindow(Window(0, 0, 36, 22));
  for (std::size_t size = 0; size < header.size(); ++size) EXPECT_FALSE(Read(header.substr(0, size))) << size;
  EXPECT_TRUE(Read(header));
}

TEST(OpenExr, EndlessAttributesAreReadWithinBounds) {
  std::string attributes;
  for (int i = 0; i < 100000; ++i) attributes += Attribute("a", "b", "");
  MemorySource source(File(attributes));
  PictureHeaders headers;
  EXPECT_FALSE(ReadOpenExr(source, headers));
  EXPECT_LE(source.BytesRead(), 64U * 1024);
}

}  // namespace
}  // namespace media_server::image
