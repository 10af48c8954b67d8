#include "platform/text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using platform::CopyAscii;
using platform::PathToUtf16;
using platform::PathToUtf8;
using platform::ToUtf16;
using platform::ToUtf8;
using platform::ToValidUtf8;

struct Pair {
  std::string_view utf8;
  std::u16string_view utf16;
};

/// The ends of the ranges of one, two, three and four bytes, and of the surrogates' surroundings.
constexpr Pair kPairs[] = {
    {"", u""},
    {"plain", u"plain"},
    {"\x7F", u"\u007F"},
    {"\xC2\x80", u"\u0080"},
    {"\xDF\xBF", u"\u07FF"},
    {"\xE0\xA0\x80", u"\u0800"},
    {"\xED\x9F\xBF", u"\uD7FF"},
    {"\xEE\x80\x80", u"\uE000"},
    {"\xEF\xBF\xBF", u"\uFFFF"},
    {"\xF0\x90\x80\x80", u"\U00010000"},
    {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
    {"a\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u20AC\U0001F600z"},
    {std::string_view("a\0b", 3), std::u16string_view(u"a\0b", 3)},
};

TEST(TextTest, ValidTextSurvivesBothWays) {
  for (const Pair& pair : kPairs) {
    EXPECT_EQ(ToUtf8(pair.utf16), pair.utf8);
    EXPECT_EQ(ToUtf16(pair.utf8), pair.utf16);
    EXPECT_EQ(ToValidUtf8(pair.utf8), pair.utf8);
  }
}

TEST(TextTest, CopiesNothingButAscii) {
  for (std::size_t length : {0U, 1U, 7U, 8U, 15U, 16U, 33U}) {
    const std::string text(length, '\x7F');
    std::u16string copy(length, u'x');
    EXPECT_TRUE(CopyAscii(text, copy.data())) << length;
    EXPECT_EQ(copy, std::u16string(length, u'\x7F'));
    for (std::size_t at = 0; at < length; ++at) {
      std::string other = text;
      other[at] = '\x80';
      EXPECT_FALSE(CopyAscii(other, copy.data())) << at << " of " << length;
    }
  }
}

/// What is not ASCII stands at every place of texts of several lengths.
TEST(TextTest, ConvertsWhateverStandsAround) {
  for (std::size_t length : {1U, 7U, 8U, 16U, 33U}) {
    for (std::size_t at = 0; at < length; ++at) {
      std::u16string utf16(length, u'a');
      utf16[at] = u'\u00E9';
      std::string utf8(length, 'a');
      utf8.replace(at, 1, "\xC3\xA9");
      EXPECT_EQ(ToUtf8(utf16), utf8);
      EXPECT_EQ(ToUtf16(utf8), utf16);
      EXPECT_EQ(PathToUtf8(utf16), utf8);
      EXPECT_EQ(PathToUtf16(utf8), utf16);
    }
  }
}

struct BrokenUtf16 {
  std::u16string_view text;
  std::string_view expected;
};

constexpr char16_t kHighAtEnd[] = {u'a', 0xD83D, 0};
constexpr char16_t kHighBeforeText[] = {0xD83D, u'b', 0};
constexpr char16_t kLowAlone[] = {u'a', 0xDE00, u'b', 0};
constexpr char16_t kHighTwice[] = {0xD83D, 0xD83D, 0xDE00, 0};
constexpr char16_t kLowFirst[] = {0xDE00, 0xD83D, 0};

constexpr BrokenUtf16 kBrokenUtf16[] = {
    {kHighAtEnd, "a\xEF\xBF\xBD"},           {kHighBeforeText, "\xEF\xBF\xBD\x62"},
    {kLowAlone, "a\xEF\xBF\xBD\x62"},        {kHighTwice, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    {kLowFirst, "\xEF\xBF\xBD\xEF\xBF\xBD"},
};

TEST(TextTest, UnpairedSurrogatesBecomeReplacementCharacters) {
  for (const BrokenUtf16& broken : kBrokenUtf16) EXPECT_EQ(ToUtf8(broken.text), broken.expected);
}

struct BrokenUtf8 {
  std::string_view text;
  std::string_view expected;
};

constexpr BrokenUtf8 kBrokenUtf8[] = {
    {"a\xFFz", "a\xEF\xBF\xBDz"},            // never a byte of UTF-8
    {"\x80z", "\xEF\xBF\xBDz"},              // continuation without a start
    {"a\xE2\x82", "a\xEF\xBF\xBD"},          // cut at the end
    {"\xE2\x82z", "\xEF\xBF\xBDz"},          // cut by the next character
    {"\xC0\xAFz", "\xEF\xBF\xBDz"},          // overlong slash
    {"\xED\xA0\x80z", "\xEF\xBF\xBDz"},      // surrogate
    {"\xF4\x90\x80\x80z", "\xEF\xBF\xBDz"},  // past U+10FFFF
};

TEST(TextTest, InvalidUtf8BecomesReplacementCharacters) {
  for (const BrokenUtf8& broken : kBrokenUtf8) {
    EXPECT_EQ(ToValidUtf8(broken.text), broken.expected);
    EXPECT_EQ(ToUtf8(ToUtf16(broken.text)), broken.expected);
  }
}

TEST(TextTest, EverySingleByteGivesValidText) {
  for (int value = 0; value < 256; ++value) {
    const std::string byte(1, static_cast<char>(value));
    const std::u16string text = ToUtf16(byte);
    ASSERT_EQ(text.size(), 1U);
    EXPECT_EQ(text[0], value < 0x80 ? static_cast<char16_t>(value) : u'\uFFFD') << value;
  }
}

TEST(TextTest, PathsOfTextConvertAsTextDoes) {
  EXPECT_EQ(PathToUtf16("/caf\xC3\xA9/\xF0\x9F\x8E\xAC.mp4"), u"/caf\u00E9/\U0001F3AC.mp4");
  EXPECT_EQ(PathToUtf8(u"/caf\u00E9/\U0001F3AC.mp4"), "/caf\xC3\xA9/\xF0\x9F\x8E\xAC.mp4");
  EXPECT_EQ(PathToUtf8(std::u16string(1, char16_t{0xD800})), "\xEF\xBF\xBD") << "a surrogate that stands for no byte";
  EXPECT_EQ(PathToUtf8(std::u16string(1, char16_t{0xDC7F})), "\xEF\xBF\xBD");
}

TEST(TextTest, PathsKeepBytesThatAreNoText) {
  EXPECT_EQ(PathToUtf16("a\xE9\xFFz"), (std::u16string{u'a', 0xDCE9, 0xDCFF, u'z'}));
  for (const BrokenUtf8& broken : kBrokenUtf8) EXPECT_EQ(PathToUtf8(PathToUtf16(broken.text)), broken.text);
  std::string every_byte;
  for (int value = 1; value < 256; ++value) every_byte += static_cast<char>(value);
  EXPECT_EQ(PathToUtf8(PathToUtf16(every_byte)), every_byte);
}

}  // namespace
