#include "media-server/io/bounded_source.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

constexpr auto kLongTime = std::chrono::hours(1);

TEST(BoundedSourceTest, HandsOnWhatTheSourceReads) {
  MemorySource source(std::string_view("abcdef"));
  BoundedSource bounded(source, {.bytes = 100, .time = kLongTime});
  std::array<std::uint8_t, 4> out{};
  EXPECT_EQ(bounded.ReadAt(1, out), 4u);
  EXPECT_EQ(std::string(out.begin(), out.end()), "bcde");
  EXPECT_EQ(bounded.ReadAt(5, out), 1u);
  EXPECT_EQ(bounded.Size(), 6u);
  EXPECT_FALSE(bounded.Spent());
}

TEST(BoundedSourceTest, ReadsNothingMoreOnceAReadWouldPassTheByteBudget) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 10, .time = kLongTime});
  std::array<std::uint8_t, 6> out{};
  EXPECT_EQ(bounded.ReadAt(0, out), 6u);
  EXPECT_FALSE(bounded.Spent());
  EXPECT_EQ(bounded.ReadAt(6, out), 0u);
  EXPECT_TRUE(bounded.Spent());
  std::array<std::uint8_t, 1> one{};
  EXPECT_EQ(bounded.ReadAt(0, one), 0u) << "a spent budget stays spent";
  EXPECT_EQ(source.BytesRead(), 6u);
}

TEST(BoundedSourceTest, ReadsNothingOnceTheTimeIsOver) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 100, .time = std::chrono::seconds(0)});
  std::array<std::uint8_t, 1> out{};
  EXPECT_TRUE(bounded.TimeIsOver());
  EXPECT_EQ(bounded.ReadAt(0, out), 0u);
  EXPECT_TRUE(bounded.Spent());
}

}  // namespace
}  // namespace media_server
