#include "media-server/container/id3v1.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::string Field(std::string text) {
  text.resize(30, '\0');
  return text;
}

std::string Tag(const std::string& title, const std::string& artist, const std::string& album) {
  return "TAG" + Field(title) + Field(artist) + Field(album) + "2004" + Field("a comment") + Be(12, 1);
}

std::optional<Id3v1Tag> Read(const std::string& content) {
  MemorySource source(content);
  return ReadId3v1(source);
}

TEST(Id3v1Test, ReadsTheTextsAtTheEndOfTheFile) {
  const auto tag = Read(Zeros(500) + Tag("Title", "Artist", "Album"));
  ASSERT_TRUE(tag.has_value());
  EXPECT_EQ(tag->title, "Title");
  EXPECT_EQ(tag->artist, "Artist");
  EXPECT_EQ(tag->album, "Album");
}

TEST(Id3v1Test, TheTrackStandsBehindTheComment) {
  const auto track_of = [](const std::string& ending) {
    std::string tag = Tag("Title", "Artist", "Album");
    tag.replace(tag.size() - 3, 2, ending);
    return Read(tag)->track_number;
  };
  EXPECT_EQ(track_of("\0\7"s), "7");
  EXPECT_EQ(track_of("\0\0"s), "");
  EXPECT_EQ(track_of("t."), "") << "a long comment";
}

TEST(Id3v1Test, DropsPaddingAndReadsWindows1252) {
  const auto tag = Read(Tag("Caf\xE9   ", "", "A title of exactly thirty char"));
  ASSERT_TRUE(tag.has_value());
  EXPECT_EQ(tag->title, "Caf\xC3\xA9");
  EXPECT_EQ(tag->artist, "");
  EXPECT_EQ(tag->album, "A title of exactly thirty char");
}

TEST(Id3v1Test, FindsNoneWhereThereIsNone) {
  EXPECT_EQ(Read("").has_value(), false);
  EXPECT_EQ(Read(Zeros(1000)).has_value(), false);
  EXPECT_EQ(Read(Tag("a", "b", "c") + "x").has_value(), false) << "not at the end";
  EXPECT_EQ(Read(Tag("a", "b", "c").substr(1)).has_value(), false);
  MemorySource endless(Tag("a", "b", "c"));
  endless.ForgetSize();
  EXPECT_FALSE(ReadId3v1(endless).has_value());
}

}  // namespace
}  // namespace media_server
