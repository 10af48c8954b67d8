#include "media-server/image/header_window.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/container/byte_reader.h"
#include "media-server/image/picture_headers.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

std::string Alphabet(std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
  return text;
}

TEST(HeaderWindow, ServesNeighboursFromOneRead) {
  MemorySource source(Alphabet(10000));
  HeaderWindow window(source);
  EXPECT_EQ(AsText(window.View(0, 3)), "abc");
  EXPECT_EQ(AsText(window.View(26, 3)), "abc");
  EXPECT_EQ(AsText(window.View(4093, 3)), Alphabet(10000).substr(4093, 3));
  EXPECT_EQ(source.Reads(), 1U);
  EXPECT_EQ(source.BytesRead(), 4096U);
}

TEST(HeaderWindow, ReadsNoMoreThanAskedForFarAway) {
  MemorySource source(Alphabet(100000));
  HeaderWindow window(source);
  EXPECT_EQ(AsText(window.View(52000, 2)), "ab");
  EXPECT_EQ(source.BytesRead(), 2U);
  EXPECT_EQ(AsText(window.View(78000, 2, /*ahead=*/10)), "ab");
  EXPECT_EQ(AsText(window.View(78002, 8)), "cdefghij");
  EXPECT_EQ(source.BytesRead(), 12U);
  EXPECT_EQ(AsText(window.View(26, 2)), "ab") << "backwards";
}

TEST(HeaderWindow, EndsWithTheSource) {
  MemorySource source(Alphabet(10));
  HeaderWindow window(source);
  EXPECT_EQ(AsText(window.View(8, 5)), "ij");
  EXPECT_TRUE(window.View(10, 1).empty());
  EXPECT_TRUE(window.View(UINT64_MAX, 1).empty());
  EXPECT_TRUE(window.Copy(8, 5).empty());
  EXPECT_EQ(AsText(window.Copy(8, 2)), "ij");
  EXPECT_FALSE(window.Spent());
}

TEST(HeaderWindow, KeepsToItsBudget) {
  MemorySource source(Alphabet(100000));
  HeaderWindow window(source, 5000);
  EXPECT_EQ(window.View(0, 10).size(), 10U);
  EXPECT_TRUE(window.Copy(0, 1000).empty());
  EXPECT_FALSE(window.Spent()) << "a payload that is left out does not end the walk";
  EXPECT_EQ(window.View(4096, 900).size(), 900U) << "no look ahead when that is too much";
  EXPECT_TRUE(window.View(9000, 10).empty());
  EXPECT_TRUE(window.Spent());
  EXPECT_LE(source.BytesRead(), 5000U);
  window.RaiseBudget(100);
  EXPECT_EQ(window.View(9000, 10).size(), 10U);
}

TEST(HeaderWindow, CopiesNoMoreThanAPayloadMayHave) {
  MemorySource source(std::string(kMostMetadataBytes + 1, 'x'));
  HeaderWindow window(source, 10 * kMostMetadataBytes);
  EXPECT_EQ(window.Copy(0, kMostMetadataBytes).size(), kMostMetadataBytes);
  EXPECT_TRUE(window.Copy(0, kMostMetadataBytes + 1).empty());
  EXPECT_TRUE(window.Copy(0, UINT64_MAX).empty());
}

}  // namespace
}  // namespace media_server::image
