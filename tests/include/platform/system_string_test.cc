#include "platform/system_string.h"

#include <gtest/gtest.h>

// The leak check and the address check of a sanitizer build count the frees.
namespace platform {
namespace {

TEST(SystemStringTest, OwnsItsText) {
  const SystemString text(SysAllocString(u"text"));
  EXPECT_TRUE(text);
  EXPECT_EQ(text.View(), u"text");
}

TEST(SystemStringTest, ViewsTheTextUpToItsLengthPrefix) {
  const SystemString text(SysAllocStringLen(u"a\0b", 3));
  EXPECT_EQ(text.View(), std::u16string_view(u"a\0b", 3));
}

TEST(SystemStringTest, ViewsNullAsEmpty) {
  const SystemString text;
  EXPECT_FALSE(text);
  EXPECT_TRUE(text.View().empty());
}

TEST(SystemStringTest, FreesWhatItHeldWhenPutAnew) {
  SystemString text(SysAllocString(u"old"));
  *text.Put() = SysAllocString(u"new");
  EXPECT_EQ(text.View(), u"new");
}

TEST(SystemStringTest, MovesItsText) {
  SystemString text(SysAllocString(u"text"));
  SystemString moved = std::move(text);
  EXPECT_EQ(moved.View(), u"text");
  moved = SystemString(SysAllocString(u"other"));
  EXPECT_EQ(moved.View(), u"other");
}

TEST(SystemStringTest, GivesItsTextUp) {
  SystemString text(SysAllocString(u"text"));
  const BSTR detached = text.Detach();
  EXPECT_FALSE(text);
  SysFreeString(detached);
}

}  // namespace
}  // namespace platform
