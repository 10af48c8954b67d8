#include "service-mediainfo/image/image_url.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace service::mediainfo::image {
namespace {

struct UrlCase {
  const char16_t* url;
  const char16_t* path;
  std::optional<bool> is_sequence;
};

constexpr std::nullopt_t kUnknown = std::nullopt;

TEST(ParseImageUrl, TakesTheFirstSchemeThatFits) {
  for (const UrlCase& row : {
           UrlCase{u"file://C:/a.png", u"C:/a.png", false},
           UrlCase{u"file:////srv/a.png", u"//srv/a.png", false},
           UrlCase{u"file:///C:/a.png", u"//C:/a.png", false},
           UrlCase{u"file:/C:/a.png", u"C:/a.png", false},
           UrlCase{u"file://///a.png", u"///a.png", false},
           UrlCase{u"files://C:/a.png", u"C:/a.png", true},
           UrlCase{u"files:////srv/a.png", u"//srv/a.png", true},
           UrlCase{u"files:///C:/a.png", u"//C:/a.png", true},
           UrlCase{u"files:/C:/a.png", u"C:/a.png", true},
           UrlCase{u"file://file://a.png", u"file://a.png", false},
           UrlCase{u"file://\xD83D\xDE00.png", u"\xD83D\xDE00.png", false},
       }) {
    const ImageUrl parsed = ParseImageUrl(row.url);
    EXPECT_EQ(parsed.path, row.path) << std::string(row.url, row.url + std::u16string_view(row.url).size());
    EXPECT_EQ(parsed.is_sequence, row.is_sequence);
  }
}

TEST(ParseImageUrl, LeavesAnEmptyPathAfterABareScheme) {
  for (const auto& [url, is_sequence] : {
           std::pair(u"file://", false),
           std::pair(u"files://", true),
           std::pair(u"file:/", false),
           std::pair(u"files:/", true),
       }) {
    EXPECT_EQ(ParseImageUrl(url).path, u"");
    EXPECT_EQ(ParseImageUrl(url).is_sequence, is_sequence);
  }
  // One slash too few for the first scheme is two more than the third one.
  EXPECT_EQ(ParseImageUrl(u"file:///").path, u"//");
  EXPECT_EQ(ParseImageUrl(u"files:///").path, u"//");
}

TEST(ParseImageUrl, KnowsNoOtherScheme) {
  for (const char16_t* url : {u"", u"/a.png", u"C:/a.png", u"http://a.png", u"FILE://a.png", u"File:/a.png",
                              u"file:a.png", u"file", u" file://a.png", u"xfile://a.png", u"filess://a.png"}) {
    const ImageUrl parsed = ParseImageUrl(url);
    EXPECT_EQ(parsed.path, u"");
    EXPECT_EQ(parsed.is_sequence, kUnknown);
  }
}

TEST(FirstFramePath, PutsTheStartInThePlaceOfTheBrackets) {
  EXPECT_EQ(FirstFramePath(u"C:/seq/img_[0001-0100].png"), u"C:/seq/img_0001.png");
  EXPECT_EQ(FirstFramePath(u"a_[1-3].png"), u"a_1.png");
  EXPECT_EQ(FirstFramePath(u"[7]"), u"7");
  EXPECT_EQ(FirstFramePath(u"a_[].png"), u"a_.png");
  EXPECT_EQ(FirstFramePath(u"a_[-3].png"), u"a_.png");
}

TEST(FirstFramePath, EndsTheStartAtTheLastDash) {
  EXPECT_EQ(FirstFramePath(u"a_[1-2-3].png"), u"a_1-2.png");
  EXPECT_EQ(FirstFramePath(u"a_[1-3,7,10-12].png"), u"a_1-3,7,10.png");
  EXPECT_EQ(FirstFramePath(u"a_[5,7].png"), u"a_5,7.png");
}

TEST(FirstFramePath, TakesTheLastBrackets) {
  EXPECT_EQ(FirstFramePath(u"a[1-2]/b_[3-4].png"), u"a[1-2]/b_3.png");
  EXPECT_EQ(FirstFramePath(u"a[[3-4]].png"), u"a[3.png");
}

TEST(FirstFramePath, KeepsAPathWithoutABracketPart) {
  EXPECT_EQ(FirstFramePath(u""), u"");
  EXPECT_EQ(FirstFramePath(u"a.png"), u"a.png");
  EXPECT_EQ(FirstFramePath(u"a1-3].png"), u"a1-3].png");
  EXPECT_EQ(FirstFramePath(u"a]1-3[.png"), u"a]1-3[.png");
}

TEST(FirstFramePath, RepeatsThePathWithoutAClosingBracket) {
  EXPECT_EQ(FirstFramePath(u"a[1-3.png"), u"a1a[1-3.pn");
  EXPECT_EQ(FirstFramePath(u"a[12.png"), u"a12.pnga[12.pn");
  EXPECT_EQ(FirstFramePath(u"["), u"");
}

TEST(CountFrames, AddsPiecesAndRanges) {
  EXPECT_EQ(CountFrames(u"a_[1-3].png"), 3u);
  EXPECT_EQ(CountFrames(u"a_[1-3,7,10-12].png"), 7u);
  EXPECT_EQ(CountFrames(u"a_[0098-0102].png"), 5u);
  EXPECT_EQ(CountFrames(u"a_[01-10].png"), 10u);
  EXPECT_EQ(CountFrames(u"a_[1-10].png"), 10u);
  EXPECT_EQ(CountFrames(u"a_[7]"), 1u);
  EXPECT_EQ(CountFrames(u"a_[5-5]"), 1u);
  EXPECT_EQ(CountFrames(u"a_[x]"), 1u);
}

TEST(CountFrames, SkipsEmptyPieces) {
  EXPECT_EQ(CountFrames(u"a_[].png"), 0u);
  EXPECT_EQ(CountFrames(u"a_[,].png"), 0u);
  EXPECT_EQ(CountFrames(u"a_[,,1,,,3-4,,].png"), 3u);
}

TEST(CountFrames, AddsNothingForARangeThatRunsBackwards) {
  EXPECT_EQ(CountFrames(u"a_[3-1]"), 0u);
  EXPECT_EQ(CountFrames(u"a_[3-1,4]"), 1u);
  EXPECT_EQ(CountFrames(u"a_[5-]"), 0u);
}

TEST(CountFrames, ReadsLeadingDigitsAroundTheLastDash) {
  EXPECT_EQ(CountFrames(u"a_[-5]"), 6u);
  EXPECT_EQ(CountFrames(u"a_[-]"), 1u);
  EXPECT_EQ(CountFrames(u"a_[a-b]"), 1u);
  EXPECT_EQ(CountFrames(u"a_[2x-4y]"), 3u);
  EXPECT_EQ(CountFrames(u"a_[1-2-5]"), 5u);
  EXPECT_EQ(CountFrames(u"a_[ 3-4]"), 5u);
  EXPECT_EQ(CountFrames(u"a_[+3-4]"), 5u);
  EXPECT_EQ(CountFrames(u"a_[\uFF11-4]"), 5u);
}

TEST(CountFrames, TakesTheLastBrackets) {
  EXPECT_EQ(CountFrames(u"a[1-9]/b_[3-4].png"), 2u);
  // The last "[" stands behind the last "]".
  EXPECT_EQ(CountFrames(u"a[1-9]/b_[3-4.png"), 1u);
}

TEST(CountFrames, IsOneWithoutABracketPart) {
  EXPECT_EQ(CountFrames(u""), 1u);
  EXPECT_EQ(CountFrames(u"a.png"), 1u);
  EXPECT_EQ(CountFrames(u"a[1-3.png"), 1u);
  EXPECT_EQ(CountFrames(u"a1-3].png"), 1u);
  EXPECT_EQ(CountFrames(u"a]1-3[.png"), 1u);
}

TEST(CountFrames, CountsBillionsAtOnce) {
  // Counted one by one, this would not end before the test's time is up.
  for (int repeat = 0; repeat < 1'000; ++repeat) {
    ASSERT_EQ(CountFrames(u"[1-4000000000]"), 4'000'000'000u);
    ASSERT_EQ(CountFrames(u"[0-4294967294]"), 4'294'967'295u);
  }
}

TEST(CountFrames, WrapsAt32Bits) {
  EXPECT_EQ(CountFrames(u"[0-4294967295]"), 0u);
  EXPECT_EQ(CountFrames(u"[0-4294967296]"), 1u);
  EXPECT_EQ(CountFrames(u"[1-3000000000,1-3000000000]"), 1'705'032'704u);
  EXPECT_EQ(CountFrames(u"[1-18446744073709551615]"), 4'294'967'295u);
  EXPECT_EQ(CountFrames(u"[0-18446744073709551615]"), 0u);
}

TEST(CountFrames, TakesTheLargestNumberForAllBeyondIt) {
  EXPECT_EQ(CountFrames(u"[18446744073709551614-18446744073709551615]"), 2u);
  EXPECT_EQ(CountFrames(u"[18446744073709551614-18446744073709551616]"), 2u);
  EXPECT_EQ(CountFrames(u"[18446744073709551614-99999999999999999999999]"), 2u);
  EXPECT_EQ(CountFrames(u"[18446744073709551616-99999999999999999999999]"), 1u);
  EXPECT_EQ(CountFrames(u"[0000000000000000000000000000001-3]"), 3u);
}

}  // namespace
}  // namespace service::mediainfo::image
