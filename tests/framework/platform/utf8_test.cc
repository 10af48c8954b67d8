#include "platform/utf8.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(CutUtf8, LeavesWhatFits) {
  EXPECT_EQ(CutUtf8("", 0), "");
  EXPECT_EQ(CutUtf8("abc", 3), "abc");
  EXPECT_EQ(CutUtf8("\xE6\x97\xA5", 3), "\xE6\x97\xA5");
}

TEST(CutUtf8, CutsBetweenCharacters) {
  EXPECT_EQ(CutUtf8("abc", 2), "ab");
  EXPECT_EQ(CutUtf8("a\xE6\x97\xA5z", 4), "a\xE6\x97\xA5");
  EXPECT_EQ(CutUtf8("a\xE6\x97\xA5z", 3), "a");
  EXPECT_EQ(CutUtf8("a\xE6\x97\xA5z", 2), "a");
  EXPECT_EQ(CutUtf8("\xE6\x97\xA5", 1), "");
}

}  // namespace
}  // namespace platform
