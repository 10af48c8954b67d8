#include "media-server/container/truncation.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::optional<bool> Judge(std::string_view demuxer, const std::string& bytes) {
  MemorySource source(bytes);
  return EndsEarly(source, demuxer);
}

bool Ends(std::string_view demuxer, const std::string& bytes) {
  const auto ends = Judge(demuxer, bytes);
  EXPECT_TRUE(ends) << demuxer;
  return ends.value_or(false);
}

TEST(Truncation, FormatsWithoutAStatedSizeAreNotJudged) {
  EXPECT_EQ(Judge("flac", "fLaC"), std::nullopt);
  EXPECT_EQ(Judge("mp3", ""), std::nullopt);
  EXPECT_EQ(Judge("", ""), std::nullopt);
}

TEST(Truncation, InputOfUnknownSizeIsNotJudged) {
  MemorySource source("FORM" + Be(9, 4) + "AIFFabcd");
  source.ForgetSize();
  EXPECT_EQ(EndsEarly(source, "aiff"), std::nullopt);
}

/// ASF header object with one file properties object behind an empty one.
std::string Asf(std::uint64_t file_size, std::uint32_t flags, std::size_t data_size) {
  const std::string file_id = Zeros(16);
  return "\x30\x26\xb2\x75\x8e\x66\xcf\x11\xa6\xd9\x00\xaa\x00\x62\xce\x6c"s + Le(158, 8) + Le(2, 4) + Zeros(2)  //
         + Zeros(16) + Le(24, 8)                                                                                 //
         + "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"s + Le(104, 8) + file_id +
         Le(file_size, 8) + Zeros(40) + Le(flags, 4) + Zeros(12) + Zeros(data_size);
}

TEST(Truncation, AsfByItsStatedSize) {
  EXPECT_EQ(Asf(0, 2, 42).size(), 200U);
  EXPECT_FALSE(Ends("asf", Asf(200, 2, 42)));
  EXPECT_TRUE(Ends("asf", Asf(201, 2, 42)));
  EXPECT_FALSE(Ends("asf", Asf(201, 3, 42)));  // broadcast: the size is not valid
  EXPECT_FALSE(Ends("asf", Asf(201, 2, 42).substr(0, 100)));
}

TEST(Truncation, FlvByItsLastTag) {
  const std::string tag = "\x08"s + Be(5, 3) + Zeros(7) + "audio" + Be(16, 4);
  const std::string whole = "FLV\1\5"s + Be(9, 4) + Be(0, 4) + tag + tag;
  EXPECT_FALSE(Ends("flv", whole));
  for (std::size_t cut = 1; cut < tag.size(); ++cut)
    EXPECT_TRUE(Ends("flv", whole.substr(0, whole.size() - cut))) << cut;
  EXPECT_FALSE(Ends("flv", whole.substr(0, 13)));
}

TEST(Truncation, SizesAtFixedPlaces) {
  EXPECT_FALSE(Ends("aiff", "FORM" + Be(8, 4) + "AIFFabcd"));
  EXPECT_TRUE(Ends("aiff", "FORM" + Be(9, 4) + "AIFFabcd"));
  EXPECT_FALSE(Ends("iff", "FRM8" + Be(8, 8) + "DSD abcd"));
  EXPECT_TRUE(Ends("iff", "FRM8" + Be(9, 8) + "DSD abcd"));
  EXPECT_FALSE(Ends("dsf", "DSD " + Le(28, 8) + Le(24, 8) + Zeros(4)));
  EXPECT_TRUE(Ends("dsf", "DSD " + Le(28, 8) + Le(25, 8) + Zeros(4)));
  EXPECT_FALSE(Ends("w64", Zeros(16) + Le(24, 8)));
  EXPECT_TRUE(Ends("w64", Zeros(16) + Le(25, 8)));
  EXPECT_FALSE(Ends("aiff", "FORM"));
}

}  // namespace
}  // namespace media_server
