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

TEST(Psd, ChannelsBeyondTheColorModeAreAlpha) {
  EXPECT_EQ(Read(Header(kGrey, 1))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kGrey, 2))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(kRgb, 3))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kRgb, 4))->alpha, imagecore::kAlphaStraight);
  EXPECT_EQ(Read(Header(kCmyk, 4))->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(Read(Header(kCmyk, 5))->alpha, imagecore::kAlphaStraight);
  EXPECT_FALSE(Read(Header(7, 3))->alpha);  // multichannel
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
