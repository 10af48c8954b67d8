#include "media-server/image/psd.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

constexpr std::uint16_t kGrey = 1;
constexpr std::uint16_t kRgb = 3;
constexpr std::uint16_t kCmyk = 4;

std::string Header(std::uint16_t mode, std::uint16_t channels, std::uint16_t version = 1) {
  return "8BPS" + Be(version, 2) + Zeros(6)  // signature, version, reserved
         + Be(channels, 2)                   //
         + Be(23, 4) + Be(37, 4)             // height, width
         + Be(8, 2) + Be(mode, 2);           // depth, colour mode
}

std::string Resource(std::uint16_t id, const std::string& data, const std::string& name = "") {
  const std::string pascal = static_cast<char>(name.size()) + name;
  return "8BIM" + Be(id, 2) + pascal + Zeros(pascal.size() % 2)  //
         + Be(data.size(), 4) + data + Zeros(data.size() % 2);
}

std::string Document(const std::string& resources) {
  return Header(kRgb, 3) + Be(5, 4) + "color"  // colour mode data
         + Be(resources.size(), 4) + resources + Zeros(20);
}

std::string Section(const std::string& content) { return Be(content.size(), 4) + content; }

/// A section of layers and masks with that many layers.
std::string LayersOf(int count) { return Section(Section(Be(static_cast<std::uint16_t>(count), 2) + Zeros(10))); }

std::string Block(const std::string& key, const std::string& data) {
  return "8BIM" + key + Section(data) + Zeros((4 - data.size() % 4) % 4);
}

std::optional<PictureHeaders> Read(const std::string& bytes) {
  MemorySource source(bytes);
  PictureHeaders headers;
  if (!ReadPsd(source, headers)) return std::nullopt;
  return headers;
}

TEST(Psd, HeaderTellsTheSize) {
  for (const std::uint16_t version : {std::uint16_t{1}, std::uint16_t{2}}) {
    const auto headers = Read(Header(kRgb, 3, version));
    ASSERT_TRUE(headers);
    EXPECT_EQ(headers->size, (PictureSize{37, 23}));
    EXPECT_EQ(headers->type, imagecore::kPicturePsd);
    EXPECT_EQ(headers->fourcc, FourCC("8BPS"));
  }
}

TEST(Psd, NegativeCountOfLayersMakesTheFirstChannelBeyondTheColorModeAlpha) {
  const std::string behind = Zeros(8) + LayersOf(-1);
  EXPECT_EQ(Read(Header(kGrey, 1) + behind)->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kGrey, 2) + behind)->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(kRgb, 3) + behind)->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kRgb, 4) + behind)->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(kCmyk, 4) + behind)->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kCmyk, 5) + behind)->alpha, imagecore::kAlphaStraight);
  EXPECT_FALSE(Read(Header(7, 3) + behind)->alpha);  // multichannel
}

TEST(Psd, SavedSelectionsAreNoAlpha) {
  const std::string resources = Be(5, 4) + "color" + Be(14, 4) + Resource(1005, "ab");
  EXPECT_EQ(Read(Header(kRgb, 4) + resources + LayersOf(2))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kRgb, 4) + resources + LayersOf(-2))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(kRgb, 4) + resources + Zeros(4) + "\xff\xff"s)->alpha, imagecore::kAlphaNone) << "flat";
}

TEST(Psd, LayersOfDeepDocumentsStandInABlockOfTheirOwn) {
  for (const char* key : {"Lr16", "Lr32"}) {
    const std::string before = Be(3, 4) + "msk" + Block("Mt16", "") + Block("Patt", "12345");
    EXPECT_EQ(Read(Header(kRgb, 4) + Zeros(8) + Section(Zeros(4) + before + Block(key, Be(0xFFFE, 2))))->alpha,
              imagecore::kAlphaStraight);
    EXPECT_EQ(Read(Header(kRgb, 4) + Zeros(8) + Section(Zeros(4) + before + Block(key, Be(2, 2))))->alpha,
              imagecore::kAlphaNone);
    EXPECT_EQ(Read(Header(kRgb, 4) + Zeros(8) + Section(Zeros(4) + before) + Block(key, Be(0xFFFE, 2)))->alpha,
              imagecore::kAlphaNone)
        << "behind the section";
  }
}

TEST(Psd, LargeDocumentsHaveLengthsOfEightBytes) {
  const std::string start = Header(kRgb, 4, 2) + Zeros(8);
  EXPECT_EQ(Read(start + Be(10, 8) + Be(2, 8) + Be(0xFFFF, 2))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(start + Be(10, 8) + Be(2, 8) + Be(1, 2))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(start + Zeros(8) + "\xff\xff"s)->alpha, imagecore::kAlphaNone);
  const std::string blocks = "8BIMMt16" + Zeros(8) + "8BIMPatt" + Be(4, 4) + "1234" + "8B64Lr16" + Be(2, 8);
  EXPECT_EQ(Read(start + Be(100, 8) + Zeros(8 + 4) + blocks + Be(0xFFFF, 2))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(start + Be(100, 8) + Zeros(8 + 4) + blocks + Be(1, 2))->alpha, imagecore::kAlphaNone);
}

TEST(Psd, LayersThatAreCutTellNoAlpha) {
  const std::string deep = Section(Zeros(8) + Block("Lr16", Be(0xFFFF, 2)));
  for (const std::string& layers : {LayersOf(-1), deep}) {
    const std::string whole = Header(kRgb, 4) + Zeros(8) + layers;
    const std::size_t count_end = whole.rfind('\xff') + 1;
    for (std::size_t size = Header(kRgb, 4).size(); size < count_end; ++size) {
      EXPECT_FALSE(Read(whole.substr(0, size))->alpha) << size;
    }
    EXPECT_EQ(Read(whole.substr(0, count_end))->alpha, imagecore::kAlphaStraight);
  }
}

TEST(Psd, EndlessBlocksAreReadWithinBounds) {
  for (const std::string& length : {Be(0, 4), Be(0xFFFFFFFF, 4)}) {
    std::string blocks;
    for (int i = 0; i < 100000; ++i) blocks += "8BIMPatt" + length;
    MemorySource source(Header(kRgb, 4) + Zeros(8) + Be(0xFFFFFFFF, 4) + Zeros(8) + blocks);
    PictureHeaders headers;
    EXPECT_TRUE(ReadPsd(source, headers));
    EXPECT_LE(source.BytesRead(), 16U * 1024);
  }
}

TEST(Psd, LengthsThatWouldOverflowTellNoAlpha) {
  const std::string start = Header(kRgb, 4, 2) + Zeros(8);
  EXPECT_FALSE(Read(start + std::string(8, '\xff') + Be(2, 8) + Be(0xFFFF, 2))->alpha);
  EXPECT_FALSE(Read(start + Be(100, 8) + Zeros(8 + 4) + "8BIMLr16" + std::string(8, '\xff') + "\xff\xff")->alpha);
}

TEST(Psd, ResourcesHoldMetadata) {
  const auto headers = Read(Document(Resource(1005, "resolution", "a name") + Resource(1028, "\x1c\2"s) +
                                     Resource(1058, "MM\0*\0\0\0\x08\0"s) + Resource(1060, "<x:xmpmeta/>", "b")));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->metadata.iptc, (std::vector<std::uint8_t>{0x1c, 2}));
  EXPECT_EQ(headers->metadata.exif, (std::vector<std::uint8_t>{'M', 'M', 0, '*', 0, 0, 0, 8, 0}));
  EXPECT_EQ(headers->metadata.xmp, "<x:xmpmeta/>");
}

TEST(Psd, ResourceThatIsLongerThanItsSectionIsNone) {
  const std::string xmp = Resource(1060, "<x:xmpmeta/>");
  std::string bytes = Document(xmp);
  bytes[26 + 4 + 5 + 3] = static_cast<char>(xmp.size() - 1);
  EXPECT_EQ(Read(bytes)->metadata.xmp, "");
}

TEST(Psd, ResourcesBehindTheEndLeaveTheSize) {
  const auto headers = Read(Header(kRgb, 3) + Be(0xFFFFFFFF, 4));
  ASSERT_TRUE(headers);
  EXPECT_EQ(headers->size, (PictureSize{37, 23}));
}

TEST(Psd, HeaderThatIsCutIsNone) {
  const std::string header = Header(kRgb, 3);
  for (std::size_t size = 0; size < header.size(); ++size) EXPECT_FALSE(Read(header.substr(0, size))) << size;
}

TEST(Psd, EndlessResourcesAreReadWithinBounds) {
  std::string resources;
  for (int i = 0; i < 100000; ++i) resources += Resource(1, "");
  MemorySource source(Document(resources));
  PictureHeaders headers;
  EXPECT_TRUE(ReadPsd(source, headers));
  EXPECT_LE(source.BytesRead(), 64U * 1024);
}

TEST(Psd, PreviewsAreNotRead) {
  MemorySource source(Document(Resource(1036, Zeros(1 << 20)) + Resource(1060, "<x/>")));
  PictureHeaders headers;
  EXPECT_TRUE(ReadPsd(source, headers));
  EXPECT_EQ(headers.metadata.xmp, "<x/>");
  EXPECT_LE(source.BytesRead(), 16U * 1024);
}

}  // namespace
}  // namespace media_server::image
