#include "output/terminal_text.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

TEST(TerminalText, PlainTextStays) {
  EXPECT_EQ(TerminalText("Zwei T\u00f6ne \u6d77 \U0001F30A \\n"), "Zwei T\u00f6ne \u6d77 \U0001F30A \\n");
}

TEST(TerminalText, ControlCharactersAreWrittenOut) {
  EXPECT_EQ(TerminalText("a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(TerminalText("\x1b[31m\x7f"), "\\x1b[31m\\x7f");
  EXPECT_EQ(TerminalText(std::string_view("\0", 1)), "\\x00");
  EXPECT_EQ(TerminalText("\u0085\u009b"), "\\x85\\x9b");
}

TEST(TerminalText, CharactersThatReorderOrHideAreWrittenOut) {
  EXPECT_EQ(TerminalText("\u202e"), "\\u202e");
  EXPECT_EQ(TerminalText("\u2066\u200b\u2028\ufeff"), "\\u2066\\u200b\\u2028\\ufeff");
  EXPECT_EQ(TerminalText("\u200e\u200f\u061c"), "\\u200e\\u200f\\u061c");
}

TEST(TerminalText, JoinersStay) {
  EXPECT_EQ(TerminalText("\u0645\u06cc\u200c\u062e\u0648\u0627\u0647\u0645"),
            "\u0645\u06cc\u200c\u062e\u0648\u0627\u0647\u0645");
  EXPECT_EQ(TerminalText("\U0001F469\u200d\U0001F4BB"), "\U0001F469\u200d\U0001F4BB");
}

TEST(TerminalText, InvalidUtf8IsReplaced) {
  EXPECT_EQ(TerminalText("a\xff"
                         "b"),
            "a\uFFFDb");
}

TEST(TerminalText, ShortFormCountsColumns) {
  EXPECT_EQ(ShortTerminalText("\u6d77\u6d77\u6d77", 6), "\u6d77\u6d77\u6d77");
  EXPECT_EQ(ShortTerminalText("\u6d77\u6d77\u6d77\u6d77", 7), "\u6d77\u6d77\u6d77...");
  EXPECT_EQ(ShortTerminalText("\u6d77\u6d77\u6d77", 5), "\u6d77\u6d77...");
  EXPECT_EQ(ShortTerminalText("\n\n\n", 6), "\\n\\n\\n");
  EXPECT_EQ(ShortTerminalText("\n\n\n\n", 6), "\\n\\n\\n...");
  EXPECT_EQ(ShortTerminalText("e\u0301e\u0301e\u0301", 3), "e\u0301e\u0301e\u0301");
  EXPECT_EQ(ShortTerminalText("", 0), "");
  EXPECT_EQ(ShortTerminalText("a", 0), "...");
  EXPECT_EQ(ShortTerminalText(std::string(std::size_t{16} << 20, 'x'), 240), std::string(240, 'x') + "...");
}

TEST(TerminalText, ShortFormBoundsMarksToo) {
  std::string marks = "a";
  for (int i = 0; i < 100'000; ++i) marks += "\u0301";
  const std::string shown = ShortTerminalText(marks, 10);
  EXPECT_LT(shown.size(), 200u);
  EXPECT_TRUE(shown.ends_with("..."));
}

}  // namespace
}  // namespace mediaprobe
