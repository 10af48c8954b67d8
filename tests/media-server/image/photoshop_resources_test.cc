#include "media-server/image/photoshop_resources.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/container/byte_reader.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Find(const std::string& blocks, std::uint16_t id = kIptcResource) {
  const std::vector<std::uint8_t> bytes(blocks.begin(), blocks.end());
  return std::string(AsText(FindPhotoshopResource(bytes, id)));
}

TEST(PhotoshopResources, SkipsOddNamesAndData) {
  const std::string unnamed = "8BIM\x03\xED\0\0\0\0\0\3abc\0"s;  // signature, id, empty name, size, data, padding
  const std::string named = "8BIM\x04\x04\3key\0\0\0\4data"s;
  const std::string evenly_named = "MeSa\x04\x05\2ab\0\0\0\0\1z"s;
  EXPECT_EQ(Find(unnamed + named + evenly_named), "data");
  EXPECT_EQ(Find(unnamed + named + evenly_named, 0x03ED), "abc");
  EXPECT_EQ(Find(unnamed + named + evenly_named, 0x0405), "z");
  EXPECT_EQ(Find(unnamed + named, 0x0405), "");
}

TEST(PhotoshopResources, TakesTheFirstOfSeveral) {
  const std::string first = "8BIM\x04\x04\0\0\0\0\0\2ab"s;
  const std::string second = "8BIM\x04\x04\0\0\0\0\0\2cd"s;
  EXPECT_EQ(Find(first + second), "ab");
}

TEST(PhotoshopResources, IsEmptyForAResourceThatIsCutShort) {
  const std::string whole = "8BIM\x04\x04\0\0\0\0\0\4data"s;
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_EQ(Find(whole.substr(0, size)), "") << size;
  EXPECT_EQ(Find("8BIM\x04\x04\0\0\xFF\xFF\xFF\xFF"s + Zeros(64)), "");
}

}  // namespace
}  // namespace media_server::image
