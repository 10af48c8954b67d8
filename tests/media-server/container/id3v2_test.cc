#include "media-server/container/id3v2.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

std::string TagOf(int version, std::uint64_t flags, const std::string& frames) {
  return "ID3" + Be(static_cast<std::uint64_t>(version), 1) + Be(0, 1) + Be(flags, 1) + InSevens(frames.size()) +
         frames;
}

std::string Tag(std::size_t size, std::uint64_t flags = 0) { return TagOf(4, flags, Zeros(size)); }

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

std::uint64_t Large(int version, const std::string& frames, std::uint64_t flags = 0) {
  MemorySource source(TagOf(version, flags, frames));
  return LargeId3v2Frames(source);
}

TEST(Id3v2Test, CoversAreItsLargeFrames) {
  const std::string title = "TIT2" + Be(5, 4) + Zeros(2) + "title";
  const std::string cover = "APIC" + Be(100'000, 4) + Zeros(2) + Zeros(100'000);
  EXPECT_EQ(Large(3, title), 0u);
  EXPECT_EQ(Large(3, title + cover + title + cover + Zeros(1000)), 200'000u);
  EXPECT_EQ(Large(2, "TT2" + Be(5, 3) + "title" + "PIC" + Be(100'000, 3) + Zeros(100'000)), 100'000u);
  EXPECT_EQ(Large(4, title + "APIC" + InSevens(100'000) + Zeros(2) + Zeros(100'000)), 100'000u);
}

TEST(Id3v2Test, NotAllFramesAreLookedAt) {
  const std::string title = "TIT2" + Be(5, 4) + Zeros(2) + "title";
  const std::string cover = "APIC" + Be(100'000, 4) + Zeros(2) + Zeros(100'000);
  std::string titles;
  for (int i = 0; i < 63; ++i) titles += title;
  EXPECT_EQ(Large(3, titles + cover), 100'000u);
  EXPECT_EQ(Large(3, titles + title + cover), 0u);
  EXPECT_EQ(Large(3, cover, 0x40), 0u) << "an extended header";
  MemorySource none("noise");
  EXPECT_EQ(LargeId3v2Frames(none), 0u);
}

std::string Resynchronised(const std::string& content) {
  MemorySource source(content);
  return ResynchronisedId3v2(source);
}

TEST(Id3v2Test, ZerosThatWerePutInAreTakenOut) {
  using namespace std::string_literals;
  const std::string written = "a\xFF\0\xE0\xFF\0\0b\xFF"s;
  const std::string meant = "a\xFF\xE0\xFF\0b\xFF"s + Zeros(2);
  for (const int version : {2, 3}) {
    EXPECT_EQ(Resynchronised(TagOf(version, 0x80, written) + "\0sound"s), TagOf(version, 0, meant));
    EXPECT_EQ(Resynchronised(TagOf(version, 0xC0, written)), TagOf(version, 0x40, meant));
    EXPECT_EQ(Resynchronised(TagOf(version, 0, written)), "");
  }
  EXPECT_EQ(Resynchronised(TagOf(3, 0xFF, Zeros(5)) + Zeros(10)), TagOf(3, 0x7F, Zeros(5)) + Zeros(10))
      << "the header has none, whatever its flags";
  EXPECT_EQ(Resynchronised(TagOf(4, 0x80, written)), "") << "frames count them";
  EXPECT_EQ(Resynchronised(TagOf(3, 0x80, written).substr(0, 15)), "") << "cut";
  EXPECT_EQ(Resynchronised(TagOf(3, 0x80, Zeros(2 << 20))), "");
}

TEST(Id3v2Test, OtherBytesAreNoTag) {
  EXPECT_EQ(Skip(""), 0u);
  EXPECT_EQ(Skip("ID3"), 0u);
  EXPECT_EQ(Skip("ID3\xFF" + Zeros(20)), 0u);
  EXPECT_EQ(Skip("ID3" + Be(4, 1) + Zeros(2) + "\x80" + Zeros(20)), 0u) << "a size of eight bits a byte";
}

}  // namespace
}  // namespace media_server
