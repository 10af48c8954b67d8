#include "output/utf8_character.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

void ExpectFirst(std::string_view text, char32_t code, std::size_t size) {
  const Utf8Character first = FirstCharacter(text);
  EXPECT_EQ(first.code, code);
  EXPECT_EQ(first.size, size);
}

TEST(FirstCharacter, ReadsSequencesOfEveryLength) {
  ExpectFirst("ab", U'a', 1);
  ExpectFirst("\x7f", U'\x7f', 1);
  ExpectFirst("\u00e9b", U'\u00e9', 2);
  ExpectFirst("\u6d77b", U'\u6d77', 3);
  ExpectFirst("\U0010FFFF", U'\U0010FFFF', 4);
}

}  // namespace
}  // namespace mediaprobe
