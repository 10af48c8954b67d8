#include "media-server/container/text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace media_server {
namespace {

using namespace std::string_view_literals;

std::vector<std::uint8_t> Bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(ContainerText, Utf8PassesAsItIs) {
  EXPECT_EQ(TextFromUtf8(Bytes("Töne \u4F60\U0001F600")), "Töne \u4F60\U0001F600");
}

TEST(ContainerText, InvalidUtf8BecomesTheReplacementCharacter) {
  EXPECT_EQ(TextFromUtf8(Bytes("a\xFF z"sv)), "a\uFFFD z");
  EXPECT_EQ(TextFromUtf8(Bytes("cut\xE4\xBD"sv)), "cut\uFFFD");
  EXPECT_EQ(TextFromUtf8(Bytes("\xED\xA0\x80!"sv)).back(), '!');
}

TEST(ContainerText, ByteOrderMarksInFrontAreNoText) {
  EXPECT_EQ(TextFromUtf8(Bytes("\uFEFFtext")), "text");
  EXPECT_EQ(TextFromUtf8(Bytes("\uFEFF\uFEFF\uFEFFtext \uFEFF")), "text \uFEFF");
  EXPECT_EQ(TextFromUtf8(Bytes("\uFEFF")), "");
}

TEST(ContainerText, EndsAtTheFirstNulWithoutPadding) {
  EXPECT_EQ(TextFromUtf8(Bytes("one\0two"sv)), "one");
  EXPECT_EQ(TextFromUtf8(Bytes("text  \r\n\0\0"sv)), "text");
  EXPECT_EQ(TextFromUtf8(Bytes(""sv)), "");
}

TEST(ContainerText, Utf16InBothOrders) {
  EXPECT_EQ(TextFromUtf16(Bytes("\0A\4\x10"sv), /*big_endian=*/true), "AА");
  EXPECT_EQ(TextFromUtf16(Bytes("A\0\x10\4"sv), /*big_endian=*/false), "AА");
  EXPECT_EQ(TextFromUtf16(Bytes("\xFF\xFE"
                                "A\0"sv),
                          /*big_endian=*/true),
            "A");
  EXPECT_EQ(TextFromUtf16(Bytes("\xFE\xFF\0A"sv), /*big_endian=*/true), "A");
}

TEST(ContainerText, SurrogatesArePairedOrReplaced) {
  EXPECT_EQ(TextFromUtf16(Bytes("\xD8\x3D\xDE\x00"sv), /*big_endian=*/true), "\U0001F600");
  EXPECT_EQ(TextFromUtf16(Bytes("\xD8\x3D\0A"sv), /*big_endian=*/true), "\uFFFDA");
  EXPECT_EQ(TextFromUtf16(Bytes("\xDE\x00\0A"sv), /*big_endian=*/true), "\uFFFDA");
  EXPECT_EQ(TextFromUtf16(Bytes("\xD8\x3D"sv), /*big_endian=*/true), "\uFFFD");
  EXPECT_EQ(TextFromUtf16(Bytes("\0A\0"sv), /*big_endian=*/true), "A");
}

TEST(ContainerText, OldCharacterSetsServeWhereUtf8DoesNot) {
  EXPECT_EQ(TextFromUtf8OrMacRoman(Bytes("caf\x8E"sv)), "café");
  EXPECT_EQ(TextFromUtf8OrMacRoman(Bytes("\xA9 1999"sv)), "© 1999");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("caf\xE9"sv)), "café");
  EXPECT_EQ(TextFromUtf8OrMacRoman(Bytes("café")), "café");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("café")), "café");
}

TEST(ContainerText, Windows1252HasPrintableCharactersWhereLatin1HasNone) {
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("\x93Gr\xF6\xDF"
                                            "e\x94 \x80"sv)),
            "“Größe” €");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("\x9F\xA0\xFF"sv)), "\u0178\u00A0\u00FF");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("\x81"sv)), "\uFFFD") << "means nothing";
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("don\u0092t \u0085\u00A0é€\U0001F3B5\u0093 ")),
            "don’t …\u00A0é€\U0001F3B5“")
      << "read as ISO 8859-1 by somebody";
}

TEST(ContainerText, Utf8MayBeCutByTheEndOfItsField) {
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("für caf\xC3"sv)), "für caf");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("für \xF0\x9F\x98"sv)), "für");
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("caf\xE9"sv)), "café") << "nothing else says that it is UTF-8";
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("für caf\xE9 "sv)), "fÃ¼r café") << "not at the end";
  EXPECT_EQ(TextFromUtf8OrWindows1252(Bytes("für \xC0"sv)), "fÃ¼r À") << "begins no character";
}

TEST(ContainerText, PlainUtf8HasNoControlCharacters) {
  EXPECT_TRUE(IsPlainUtf8(Bytes("{\"Label\": 1}\r\n\t")));
  EXPECT_FALSE(IsPlainUtf8(Bytes("\0\1"sv)));
  EXPECT_FALSE(IsPlainUtf8(Bytes("\xFF"sv)));
}

TEST(ContainerText, KeysAreOneCodePointAByte) {
  EXPECT_EQ(KeyFromFourCharacters("\xA9nam"sv), "©nam");
  EXPECT_EQ(KeyFromFourCharacters("avc1"sv), "avc1");
}

}  // namespace
}  // namespace media_server
