#include "media-server/container/id3v2.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

std::string Tag(std::size_t size, std::uint64_t flags = 0) {
  return "ID3" + Be(4, 1) + Be(0, 1) + Be(flags, 1) + Be(size >> 7, 3) + Be(size & 0x7F, 1) + Zeros(size);
}

std::uint64_t Skip(const std::string& content) {
  MemorySource source(content);
  return SkipId3v2(source);
}

TEST(Id3v2Test, EndsBehindAllTagsInFront) {
  EXPECT_EQ(Skip("sound"), 0u);
  EXPECT_EQ(Skip(Tag(0) + "sound"), 10u);
  EXPECT_EQ(Skip(Tag(300) + "sound"), 310u);
  EXPECT_EQ(Skip(Tag(300) + Tag(5) + "sound"), 325u);
  EXPECT_EQ(Skip(Tag(300, 0x10) + Zeros(10) + "sound"), 320u) << "a footer";
}

TEST(Id3v2Test, SixteenTagsAreEnough) {
  std::string tags;
  for (int i = 0; i < 20; ++i) tags += Tag(0);
  EXPECT_EQ(Skip(tags), 160u);
}

TEST(Id3v2Test, OtherBytesAreNoTag) {
  EXPECT_EQ(Skip(""), 0u);
  EXPECT_EQ(Skip("ID3"), 0u);
  EXPECT_EQ(Skip("ID3\xFF" + Zeros(20)), 0u);
  EXPECT_EQ(Skip("ID3" + Be(4, 1) + Zeros(2) + "\x80" + Zeros(20)), 0u) << "a size of eight bits a byte";
}

}  // namespace
}  // namespace media_server
