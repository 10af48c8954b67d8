#include "media-server/container/gzip.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/gzip_stored.h"

namespace media_server {
namespace {

using namespace std::string_literals;

std::span<const std::uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string Inflate(const std::string& compressed, std::size_t most) {
  const auto bytes = InflateGzip(Bytes(compressed), most);
  return {bytes.begin(), bytes.end()};
}

TEST(Gzip, IsKnownByItsMagicAndMethod) {
  EXPECT_TRUE(IsGzip(Bytes("\x1f\x8b\x08"s)));
  EXPECT_FALSE(IsGzip(Bytes("\x1f\x8b\x07"s)));
  EXPECT_FALSE(IsGzip(Bytes("\x1f\x8b"s)));
}

TEST(Gzip, InflatesNoMoreThanAskedFor) {
  EXPECT_EQ(Inflate(GzipStored("some text"), 100), "some text");
  EXPECT_EQ(Inflate(GzipStored("some text"), 4), "some");
  EXPECT_EQ(Inflate(GzipStored("some text"), 0), "");
}

TEST(Gzip, GivesWhatACutOrDamagedMemberHolds) {
  EXPECT_EQ(Inflate(GzipStored("some text").substr(0, 15 + 4), 100), "some");  // 10 bytes of header, 5 of block
  EXPECT_EQ(Inflate("\x1f\x8b\x08"s, 100), "");
  EXPECT_EQ(Inflate("\x1f\x8b\x08\0\0\0\0\0\0\0\xff\xff\xff"s, 100), "");
  EXPECT_EQ(Inflate("no gzip", 100), "");
}

}  // namespace
}  // namespace media_server
