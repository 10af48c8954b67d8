#include "output/display_width.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DisplayWidth, MostCharactersTakeOneColumn) {
  EXPECT_EQ(DisplayWidth(""), 0u);
  EXPECT_EQ(DisplayWidth("a.mp4 ~"), 7u);
  EXPECT_EQ(DisplayWidth("T\u00f6ne"), 4u);
  EXPECT_EQ(DisplayWidth("\u05e9\u05dc\u05d5\u05dd"), 4u);
  EXPECT_EQ(DisplayWidth("\u0645\u0631\u062d\u0628\u0627"), 5u);
  EXPECT_EQ(DisplayWidth("\uff76\uff9e"), 2u);  // halfwidth kana
  EXPECT_EQ(DisplayWidth("\ufffd"), 1u);
  EXPECT_EQ(DisplayWidth("\U0010FFFF"), 1u);
}

TEST(DisplayWidth, IdeographsKanaHangulAndEmojiTakeTwo) {
  EXPECT_EQ(DisplayWidth("\u6d77\u306e\u30c6\u97d3"), 8u);
  EXPECT_EQ(DisplayWidth("\ud55c\uae00"), 4u);
  EXPECT_EQ(DisplayWidth("\uff21\u3000\u3002"), 6u);  // fullwidth A, ideographic space and full stop
  EXPECT_EQ(DisplayWidth("\U0001F30A\U0001F600"), 4u);
  EXPECT_EQ(DisplayWidth("\U00020000\U0003FFFD"), 4u);
  EXPECT_EQ(DisplayWidth("\u1100\u115f"), 4u);  // the first and last of a range
  EXPECT_EQ(DisplayWidth("\u10ff\u303f"), 2u);  // just outside of ranges
}

TEST(DisplayWidth, MarksTakeNone) {
  EXPECT_EQ(DisplayWidth("e\u0301"), 1u);
  EXPECT_EQ(DisplayWidth("\u05d1\u05b0\u05bc"), 1u);
  EXPECT_EQ(DisplayWidth("\u1112\u1161\u11ab"), 2u);  // one Hangul syllable in its parts
  EXPECT_EQ(DisplayWidth("\u304b\u3099"), 2u);        // a mark between wide characters' codes
  EXPECT_EQ(DisplayWidth("a\u200db\u200c\ufe0f"), 2u);
  EXPECT_EQ(DisplayWidth("\u00ad"), 1u);  // soft hyphens are drawn
}

TEST(FittingBytes, EndAtAWholeCharacterWithItsMarks) {
  EXPECT_EQ(FittingBytes("abc", 2), 2u);
  EXPECT_EQ(FittingBytes("abc", 3), 3u);
  EXPECT_EQ(FittingBytes("\u6d77\u6d77", 3), 3u);
  EXPECT_EQ(FittingBytes("ae\u0301b", 2), 4u);
  EXPECT_EQ(FittingBytes("a", 0), 0u);
}

TEST(WrappedLines, ShortTextsStay) {
  EXPECT_THAT(WrappedLines("", 10), IsEmpty());
  EXPECT_THAT(WrappedLines("ten wide  ", 10), ElementsAre("ten wide  "));
}

TEST(WrappedLines, BreakAtSpacesWhichGo) {
  EXPECT_THAT(WrappedLines("the quick brown fox", 10), ElementsAre("the quick", "brown fox"));
  EXPECT_THAT(WrappedLines("the quick brown fox", 9), ElementsAre("the quick", "brown fox"));
  EXPECT_THAT(WrappedLines("the quick brown fox", 8), ElementsAre("the", "quick", "brown", "fox"));
  EXPECT_THAT(WrappedLines("one     two", 4), ElementsAre("one", "two"));
  EXPECT_THAT(WrappedLines("          ", 4), IsEmpty());
}

TEST(WrappedLines, LongWordsAreBrokenWhereTheLineEnds) {
  EXPECT_THAT(WrappedLines("abcdefghij", 4), ElementsAre("abcd", "efgh", "ij"));
  EXPECT_THAT(WrappedLines("ab cdefghij", 4), ElementsAre("ab", "cdef", "ghij"));
  EXPECT_THAT(WrappedLines("abce\u0301f", 4), ElementsAre("abce\u0301", "f"));
}

TEST(WrappedLines, BreakBesideWideCharacters) {
  EXPECT_THAT(WrappedLines("\u6d77\u6d77\u6d77", 5), ElementsAre("\u6d77\u6d77", "\u6d77"));
  EXPECT_THAT(WrappedLines("ab\u6d77cd", 5), ElementsAre("ab\u6d77", "cd"));
  EXPECT_THAT(WrappedLines("\u6d77\u6d77\u3002", 4), ElementsAre("\u6d77", "\u6d77\u3002"));
  EXPECT_THAT(WrappedLines("ab\U0001F469\u200d\U0001F4BB", 5), ElementsAre("ab", "\U0001F469\u200d\U0001F4BB"));
}

TEST(WrappedLines, LinesTooNarrowForACharacterHoldIt) {
  EXPECT_THAT(WrappedLines("\u6d77\u6d77", 1), ElementsAre("\u6d77", "\u6d77"));
  EXPECT_THAT(WrappedLines("ab", 0), ElementsAre("a", "b"));
}

TEST(WrappedLines, LongTextsTakeNoLongTime) {
  EXPECT_EQ(WrappedLines(std::string(4'000'000, 'x'), 40).size(), 100'000u);
}

}  // namespace
}  // namespace mediaprobe
