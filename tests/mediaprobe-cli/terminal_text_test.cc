#include "terminal_text.h"

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
}

TEST(TerminalText, InvalidUtf8IsReplaced) {
  EXPECT_EQ(TerminalText("a\xff"
                         "b"),
            "a\uFFFDb");
}

TEST(TerminalText, ShortFormCountsCharacters) {
  EXPECT_EQ(ShortTerminalText("\u6d77\u6d77\u6d77", 3), "\u6d77\u6d77\u6d77");
  EXPECT_EQ(ShortTerminalText("\u6d77\u6d77\u6d77\u6d77", 3), "\u6d77\u6d77\u6d77...");
  EXPECT_EQ(ShortTerminalText("\n\n\n", 2), "\\n\\n...");
  EXPECT_EQ(ShortTerminalText("", 0), "");
  EXPECT_EQ(ShortTerminalText(std::string(std::size_t{16} << 20, 'x'), 240), std::string(240, 'x') + "...");
}

}  // namespace
}  // namespace mediaprobe
