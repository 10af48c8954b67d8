#include "media-server/digest/sequence_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace media_server {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The first names of the sequence, at most ten.
std::vector<std::string> Names(const std::string& path) {
  std::vector<std::string> names;
  auto pattern = SequencePattern::Parse(path);
  EXPECT_TRUE(pattern) << path;
  while (pattern && names.size() < 10) {
    auto name = pattern->Next();
    if (!name) break;
    names.push_back(std::move(*name));
  }
  return names;
}

TEST(SequencePattern, StepsThroughARange) {
  EXPECT_THAT(Names("d/f_[1-3].png"), ElementsAre("d/f_1.png", "d/f_2.png", "d/f_3.png"));
}

TEST(SequencePattern, KeepsTheOrderOfItsPieces) {
  EXPECT_THAT(Names("f[7,1-2,5]"), ElementsAre("f7", "f1", "f2", "f5"));
}

TEST(SequencePattern, FillsUpToTheWidthOfTheFirstNumber) {
  EXPECT_THAT(Names("f_[0098-101]x"), ElementsAre("f_0098x", "f_0099x", "f_0100x", "f_0101x"));
  EXPECT_THAT(Names("f_[9-10]x"), ElementsAre("f_9x", "f_10x"));
  EXPECT_THAT(Names("f_[007]"), ElementsAre("f_007"));
}

TEST(SequencePattern, HasNoFramesInAnEmptyOrBackwardRange) {
  EXPECT_THAT(Names("f[]"), IsEmpty());
  EXPECT_THAT(Names("f[,,]"), IsEmpty());
  EXPECT_THAT(Names("f[3-1]"), IsEmpty());
  EXPECT_THAT(Names("f[3-1,4]"), ElementsAre("f4"));
}

TEST(SequencePattern, TakesTheLastBrackets) {
  EXPECT_THAT(Names("a[1]/b[2-3].png"), ElementsAre("a[1]/b2.png", "a[1]/b3.png"));
}

TEST(SequencePattern, EndsAtTheGreatestNumber) {
  EXPECT_THAT(Names("f[18446744073709551614-18446744073709551615]"),
              ElementsAre("f18446744073709551614", "f18446744073709551615"));
}

TEST(SequencePattern, CountsItsNamesWithoutMakingThem) {
  const auto count = [](const std::string& path) { return SequencePattern::Parse(path)->FrameCount(); };
  EXPECT_EQ(count("f[]"), 0u);
  EXPECT_EQ(count("f[7,1-3,5-4,12]"), 5u);
  EXPECT_EQ(count("f[0-4294967295]"), 4'294'967'296u);
  EXPECT_EQ(count("f[1-18446744073709551615]"), 18'446'744'073'709'551'615u);
  EXPECT_EQ(count("f[0-18446744073709551615]"), 18'446'744'073'709'551'615u);
  EXPECT_EQ(count("f[1-18446744073709551614,1,1,1]"), 18'446'744'073'709'551'615u);
  auto stepped = SequencePattern::Parse("f[1-3]");
  stepped->Next();
  EXPECT_EQ(stepped->FrameCount(), 3u);
}

TEST(SequencePattern, IsNoOtherText) {
  for (const char* path : {"f.png", "f[1-3", "f1-3]", "f]1[", "f[a]", "f[1-b]", "f[-3]", "f[3-]", "f[1 - 3]", "f[+1]",
                           "f[18446744073709551616]"}) {
    EXPECT_FALSE(SequencePattern::Parse(path)) << path;
  }
}

}  // namespace
}  // namespace media_server
