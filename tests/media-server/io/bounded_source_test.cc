#include "media-server/io/bounded_source.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

constexpr auto kLongTime = std::chrono::hours(1);
constexpr std::size_t kHead = 16 * 1024;
constexpr std::uint64_t kMegabyte = 1 << 20;

std::size_t Read(BoundedSource& source, std::uint64_t offset, std::size_t size) {
  std::vector<std::uint8_t> out(size);
  return source.ReadAt(offset, out);
}

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

TEST(BoundedSourceTest, ReadsWhatStandsInForTheInput) {
  MemorySource source("0123456789" + Zeros(2 * kHead));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  bounded.Replace(3, "abcd");
  bounded.Replace(kHead + 5, "efg");
  const auto read = [&](std::uint64_t offset, std::size_t size) {
    std::string out(size, '?');
    bounded.ReadAt(offset, {reinterpret_cast<std::uint8_t*>(out.data()), size});
    return out;
  };
  EXPECT_EQ(read(0, 10), "012abcd789");
  EXPECT_EQ(read(4, 2), "bc");
  EXPECT_EQ(read(0, 3), "012");
  EXPECT_EQ(read(7, 3), "789");
  EXPECT_EQ(read(kHead + 4, 5), Zeros(1) + "efg" + Zeros(1)) << "behind what is held";
  std::array<std::uint8_t, 2> out{};
  EXPECT_EQ(bounded.ReadSome(5, out), 2u);
  EXPECT_EQ(std::string(out.begin(), out.end()), "cd");
}

TEST(BoundedSourceTest, RefusesAReadThatDoesNotFit) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 10, .time = kLongTime});
  EXPECT_EQ(Read(bounded, 1, 6), 6u);
  EXPECT_FALSE(bounded.Spent());
  std::array<std::uint8_t, 6> out{};
  EXPECT_EQ(bounded.ReadSome(7, out), 4u) << "a part fits";
  EXPECT_EQ(Read(bounded, 7, 6), 0u);
  EXPECT_TRUE(bounded.Spent());
  EXPECT_EQ(source.BytesRead(), 10u);
}

TEST(BoundedSourceTest, RefusesMoreReadsThanTheBudgetHas) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 100, .reads = 2, .time = kLongTime});
  EXPECT_EQ(Read(bounded, 10, 1), 1u);
  EXPECT_EQ(Read(bounded, 20, 1), 1u);
  EXPECT_EQ(Read(bounded, 30, 1), 0u);
  EXPECT_TRUE(bounded.Spent());
  EXPECT_EQ(source.Reads(), 2u);
}

TEST(BoundedSourceTest, ReadsNothingOnceTheTimeIsOver) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 100, .time = std::chrono::seconds(0)});
  EXPECT_TRUE(bounded.TimeIsOver());
  EXPECT_EQ(Read(bounded, 0, 1), 0u);
  EXPECT_TRUE(bounded.Spent());
}

TEST(BoundedSourceTest, ReadsTheStartOfAFileOnce) {
  MemorySource source(Zeros(3 * kHead));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  EXPECT_EQ(Read(bounded, 0, 12), 12u);
  EXPECT_EQ(Read(bounded, 0, 4096), 4096u);
  EXPECT_EQ(Read(bounded, 100, 1000), 1000u);
  EXPECT_EQ(Read(bounded, 0, kHead), kHead);
  EXPECT_EQ(source.Reads(), 1u);
  EXPECT_EQ(source.BytesRead(), kHead);
  EXPECT_EQ(Read(bounded, kHead - 10, 20), 20u) << "what goes past it is read on";
  EXPECT_EQ(source.BytesRead(), kHead + 10);
}

TEST(BoundedSourceTest, HoldsTheStartThatItIsToKeep) {
  MemorySource source(Zeros(4 * kHead));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  bounded.KeepStart(2 * kHead);
  EXPECT_EQ(Read(bounded, 0, 4 * kHead), 4 * kHead);
  const std::uint64_t read = source.BytesRead();
  EXPECT_EQ(read, 4 * kHead);
  EXPECT_EQ(Read(bounded, 0, 2 * kHead), 2 * kHead);
  EXPECT_EQ(source.BytesRead(), read);
  EXPECT_EQ(Read(bounded, 4 * kHead - 10, 10), 10u);
  EXPECT_EQ(source.BytesRead(), read + 10);
}

TEST(BoundedSourceTest, HoldsTheEndThatItIsToKeep) {
  MemorySource source(Zeros(4 * kHead));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  bounded.KeepEnd(kHead);
  EXPECT_EQ(Read(bounded, 3 * kHead, kHead), kHead);
  EXPECT_EQ(Read(bounded, 3 * kHead + 10, kHead), kHead - 10);
  EXPECT_EQ(source.BytesRead(), kHead);
  EXPECT_EQ(Read(bounded, 3 * kHead - 10, 20), 20u);
  EXPECT_EQ(source.BytesRead(), kHead + 10);
}

TEST(BoundedSourceTest, WhatIsKeptCountsOnce) {
  MemorySource source(Zeros(4 * kHead));
  BoundedSource bounded(source, {.bytes = 3000, .time = kLongTime});
  bounded.KeepStart(kHead);
  EXPECT_EQ(Read(bounded, 0, 2000), 2000u);
  EXPECT_EQ(Read(bounded, 0, 2000), 2000u);
  EXPECT_EQ(bounded.BytesRead(), 2000u);
  EXPECT_EQ(Read(bounded, 2000, 2000), 0u) << "does not fit";
  EXPECT_TRUE(bounded.Spent());
}

TEST(BoundedSourceTest, AsksForNothingBehindTheEnd) {
  MemorySource source(Zeros(100));
  BoundedSource bounded(source, {.bytes = 100, .time = kLongTime});
  EXPECT_EQ(Read(bounded, 90, 20), 10u);
  EXPECT_EQ(Read(bounded, 100, 20), 0u);
  EXPECT_EQ(source.Reads(), 1u);
  EXPECT_FALSE(bounded.Spent());
}

TEST(BoundedSourceTest, ReadsWhatItIsToldOfOnceAndBeyondTheBudget) {
  MemorySource source(Zeros(100'000));
  BoundedSource bounded(source, {.bytes = 1000, .time = kLongTime});
  bounded.WillRead(50'000, 20'000);
  EXPECT_EQ(Read(bounded, 50'000, 500), 500u);
  EXPECT_EQ(Read(bounded, 50'000, 20'000), 20'000u);
  EXPECT_EQ(source.Reads(), 1u);
  EXPECT_EQ(source.BytesRead(), 20'000u);
  EXPECT_EQ(bounded.BytesRead(), 0u);
  EXPECT_EQ(Read(bounded, 90'000, 1000), 1000u) << "the budget is whole";
  EXPECT_EQ(Read(bounded, 10, 1), 0u);
}

TEST(BoundedSourceTest, ReadsUpToWhatIsHeld) {
  MemorySource source(Zeros(100'000));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  bounded.WillRead(50'000, 1000);
  std::vector<std::uint8_t> out(4096);
  EXPECT_EQ(bounded.ReadSome(49'000, out), 1000u);
  EXPECT_EQ(bounded.ReadSome(50'500, out), 500u);
  EXPECT_EQ(bounded.ReadAt(49'000, out), 4096u);
}

TEST(BoundedSourceTest, HoldsNoMoreThanItsBoundOfWhatItIsToldOf) {
  MemorySource source(Zeros(9 * kMegabyte));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  bounded.WillRead(0, 9 * kMegabyte);
  EXPECT_EQ(source.BytesRead(), 0u);
  EXPECT_EQ(Read(bounded, 0, 9 * kMegabyte), 9 * kMegabyte) << "but allows it";
}

TEST(BoundedSourceTest, LimitCountsWhatWasReadBefore) {
  MemorySource source(Zeros(100'000));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  EXPECT_EQ(Read(bounded, 1, 600), 600u);
  bounded.Limit(1000);
  EXPECT_EQ(Read(bounded, 1, 500), 0u);
  EXPECT_EQ(Read(bounded, 1, 400), 400u);
  bounded.Limit(500);
  EXPECT_EQ(Read(bounded, 1, 1), 0u);
}

TEST(BoundedSourceTest, KeepsAPartForTheEndOfTheFile) {
  MemorySource source(Zeros(2 * kMegabyte));
  BoundedSource bounded(source, {.bytes = kMegabyte, .time = kLongTime});
  constexpr std::uint64_t kEnd = 256 * 1024;
  EXPECT_EQ(Read(bounded, 10, kMegabyte - kEnd), kMegabyte - kEnd);
  EXPECT_EQ(Read(bounded, 10, 1), 0u);
  EXPECT_EQ(Read(bounded, 2 * kMegabyte - kEnd, kEnd), kEnd);
  EXPECT_EQ(Read(bounded, 2 * kMegabyte - 1, 1), 0u);
}

}  // namespace
}  // namespace media_server
