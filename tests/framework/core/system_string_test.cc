#include "platform/system_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

using platform::SystemString;

std::uint32_t LengthPrefix(BSTR text) {
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof(bytes), sizeof(bytes));
  return bytes;
}

TEST(SystemStringTest, CopiesUpToTheTerminator) {
  char16_t source[] = u"caf\u00E9";
  const SystemString text(SysAllocString(source));
  source[0] = u'x';
  EXPECT_EQ(text.View(), u"caf\u00E9");
  EXPECT_EQ(text.View().data()[4], u'\0');
}

TEST(SystemStringTest, PrefixHoldsTheLengthInBytes) {
  BSTR text = SysAllocString(u"four");
  EXPECT_EQ(LengthPrefix(text), 8U);
  EXPECT_EQ(SysStringLen(text), 4U);
  SysFreeString(text);
}

TEST(SystemStringTest, NullStandsForTheEmptyString) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0U);
  SysFreeString(nullptr);
}

TEST(SystemStringTest, EmptyTextIsAStringOfItsOwn) {
  BSTR text = SysAllocString(u"");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringLen(text), 0U);
  EXPECT_EQ(text[0], u'\0');
  SysFreeString(text);
}

TEST(SystemStringTest, LengthMayGoPastATerminator) {
  constexpr std::u16string_view kSource(u"a\0b", 3);
  const SystemString text(SysAllocStringLen(kSource.data(), 3));
  EXPECT_EQ(text.View(), kSource);
  EXPECT_EQ(text.View().data()[3], u'\0');
}

TEST(SystemStringTest, LengthMayStopShortOfTheTerminator) {
  const SystemString text(SysAllocStringLen(u"abcdef", 2));
  EXPECT_EQ(text.View(), u"ab");
  EXPECT_EQ(text.View().data()[2], u'\0');
}

TEST(SystemStringTest, NullTextGivesZeros) {
  const SystemString text(SysAllocStringLen(nullptr, 3));
  EXPECT_EQ(text.View(), std::u16string_view(u"\0\0\0", 3));
}

TEST(SystemStringTest, LengthThatThePrefixCannotHoldGivesNull) {
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000U), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFU), nullptr);
}

TEST(SystemStringTest, OwnerFreesWhatItHeldBeforeAnOutArgument) {
  SystemString text(SysAllocString(u"first"));
  *text.Put() = SysAllocString(u"second");
  EXPECT_EQ(text.View(), u"second");
  BSTR detached = text.Detach();
  EXPECT_FALSE(text);
  SysFreeString(detached);
}

}  // namespace
