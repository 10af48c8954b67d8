#include "media-server/container/ape_tag.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t kBinary = 2;

std::string Item(const std::string& key, const std::string& value, std::uint64_t flags = 0) {
  return Le(value.size(), 4) + Le(flags, 4) + key + Zeros(1) + value;
}

std::string Tag(const std::string& items) {
  return items + "APETAGEX" + Le(2000, 4) + Le(items.size() + 32, 4) + Le(1, 4) + Le(0, 4) + Zeros(8);
}

std::string Id3v1() { return "TAG" + Zeros(125); }

/// "Key=value;" for each text.
std::string Read(const std::string& content) {
  MemorySource source(content);
  std::string found;
  for (const ApeText& text : ReadApeTag(source)) found += text.key + "=" + text.value + ";";
  return found;
}

TEST(ApeTagTest, TextsStandAtTheEndOfTheFile) {
  const std::string tag = Tag(Item("Title", "A \xC3\xA9") + Item("Artist", "B"));
  EXPECT_EQ(Read("sound" + tag), "Title=A \xC3\xA9;Artist=B;");
  EXPECT_EQ(Read("sound" + tag + Id3v1()), "Title=A \xC3\xA9;Artist=B;");
  EXPECT_EQ(Read("sound" + tag + "noise"), "");
}

TEST(ApeTagTest, TheFirstOfAListCounts) { EXPECT_EQ(Read(Tag(Item("Artist", "B\0C"s))), "Artist=B;"); }

TEST(ApeTagTest, PicturesAreNoTexts) {
  EXPECT_EQ(Read(Tag(Item("Cover Art (Front)", "a.jpg\0\xFF\xD8"s, kBinary) + Item("Title", "A"))), "Title=A;");
}

TEST(ApeTagTest, WhatIsCutIsLeftOut) {
  const std::string items = Item("Title", "A") + Item("Artist", "B");
  EXPECT_EQ(Read(Tag(items.substr(0, items.size() - 1))), "Title=A;");
  EXPECT_EQ(Read(Tag(Item("Title", "A") + Le(0xFFFFFFFF, 4) + Zeros(40))), "Title=A;");
  EXPECT_EQ(Read(Tag(Item("Title", "A") + Le(1, 4) + Le(0, 4) + "key without an end")), "Title=A;");
}

TEST(ApeTagTest, SizesThatCannotBeAreNoTag) {
  const auto with_size = [](std::uint64_t size) { return "APETAGEX" + Le(2000, 4) + Le(size, 4) + Zeros(16); };
  EXPECT_EQ(Read(with_size(31)), "");
  EXPECT_EQ(Read(with_size(33)), "");
  EXPECT_EQ(Read(with_size(0xFFFFFFFF)), "");
  EXPECT_EQ(Read(Zeros(2 << 20) + with_size((1 << 20) + 1)), "");
  EXPECT_EQ(Read(Item("Title", "A") + with_size(49)), "") << "a byte in front of the item";
  EXPECT_EQ(Read(Item("Title", "A") + with_size(47)), "Title=A;");
  EXPECT_EQ(Read(""), "");
}

}  // namespace
}  // namespace media_server
