#include "line_filter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using core::MaskTexts;
using core::OneLine;

using Texts = std::vector<std::string>;

TEST(MaskTextsTest, LeavesALineWithoutThemAlone) {
  EXPECT_EQ(MaskTexts("opened /media/a.mp4", Texts{}), "opened /media/a.mp4");
  EXPECT_EQ(MaskTexts("opened /media/a.mp4", Texts{"secret"}), "opened /media/a.mp4");
  EXPECT_EQ(MaskTexts("", Texts{"secret"}), "");
}

TEST(MaskTextsTest, MasksEveryOccurrence) {
  EXPECT_EQ(MaskTexts("key=k1 again k1", Texts{"k1"}), "key=*** again ***");
  EXPECT_EQ(MaskTexts("k1k1", Texts{"k1"}), "******");
  EXPECT_EQ(MaskTexts("k1", Texts{"k1"}), "***");
  EXPECT_EQ(MaskTexts("a k1, b k2", Texts{"k1", "k2"}), "a ***, b ***");
}

TEST(MaskTextsTest, LongerTextWinsOverOneWithinIt) {
  EXPECT_EQ(MaskTexts("/home/me/key.bin", Texts{"/home/me", "/home/me/key.bin"}), "***");
  EXPECT_EQ(MaskTexts("/home/me/key.bin", Texts{"/home/me/key.bin", "/home/me"}), "***");
  EXPECT_EQ(MaskTexts("/home/me/other", Texts{"/home/me", "/home/me/key.bin"}), "***/other");
}

TEST(MaskTextsTest, OverlappingTextsLeaveNothingOfEither) {
  EXPECT_EQ(MaskTexts("<abcdef>", Texts{"abcd", "cdef"}), "<***>");
  EXPECT_EQ(MaskTexts("<abcdef>", Texts{"cdef", "abcd"}), "<***>");
  EXPECT_EQ(MaskTexts("<aaaaa>", Texts{"aa"}), "<***>");
}

TEST(MaskTextsTest, MaskItselfIsNotMasked) { EXPECT_EQ(MaskTexts("key k1*", Texts{"k1", "*"}), "key ******"); }

TEST(OneLineTest, EscapesControlCharacters) {
  EXPECT_EQ(OneLine("one\ntwo\r\n\tthree"), "one\\ntwo\\r\\n\\tthree");
  EXPECT_EQ(OneLine(std::string("\0\x01\x1B[31m\x7F", 8)), "\\x00\\x01\\x1B[31m\\x7F");
}

TEST(OneLineTest, EscapesControlCharactersPastAscii) {
  EXPECT_EQ(OneLine("a\xC2\x80\xC2\x85\xC2\x9F"), "a\\u0080\\u0085\\u009F");
  EXPECT_EQ(OneLine("\xC2\xA0"), "\xC2\xA0");
}

TEST(OneLineTest, EscapesWhatReordersTheLine) {
  EXPECT_EQ(OneLine("a\u202Egpj.exe\u2069 \u061C\u2028"), "a\\u202Egpj.exe\\u2069 \\u061C\\u2028");
  EXPECT_EQ(OneLine("\uFEFF\u200B\u2060"), "\\uFEFF\\u200B\\u2060");
  EXPECT_EQ(OneLine("\u05D0\u202F\u2070\U0001F600"), "\u05D0\u202F\u2070\U0001F600");
}

TEST(OneLineTest, KeepsReadableText) {
  EXPECT_EQ(OneLine("C:\\new\\caf\xC3\xA9 \xF0\x9F\x98\x80 ~"), "C:\\new\\caf\xC3\xA9 \xF0\x9F\x98\x80 ~");
}

TEST(OneLineTest, ReplacesInvalidSequences) {
  EXPECT_EQ(OneLine("a\xFFz"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(OneLine("a\xC2\nz"), "a\xEF\xBF\xBD\\nz");
  EXPECT_EQ(OneLine("a\xC2"), "a\xEF\xBF\xBD");
}

}  // namespace
