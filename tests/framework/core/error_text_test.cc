#include "core/error_text.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

TEST(ErrorTextTest, IsEmptyOnANewThread) {
  CoreSetErrorText("of this thread");
  std::string other = "not asked";
  std::thread([&] { other = CoreErrorText(); }).join();
  EXPECT_EQ(other, "");
}

TEST(ErrorTextTest, KeepsACopyOfTheLastText) {
  std::string reason = "not a media file";
  CoreSetErrorText(reason.c_str());
  reason.assign(reason.size(), 'x');
  EXPECT_STREQ(CoreErrorText(), "not a media file");
  CoreSetErrorText("short");
  EXPECT_STREQ(CoreErrorText(), "short");
}

TEST(ErrorTextTest, NullAndEmptyTextClear) {
  CoreSetErrorText("something");
  CoreSetErrorText(nullptr);
  EXPECT_STREQ(CoreErrorText(), "");
  CoreSetErrorText("something");
  CoreSetErrorText("");
  EXPECT_STREQ(CoreErrorText(), "");
}

TEST(ErrorTextTest, ThreadsDoNotSeeEachOther) {
  CoreSetErrorText("first");
  std::thread([] { CoreSetErrorText("second"); }).join();
  EXPECT_STREQ(CoreErrorText(), "first");
}

TEST(ErrorTextTest, KeepsUpTo255Bytes) {
  CoreSetErrorText(std::string(255, 'a').c_str());
  EXPECT_EQ(CoreErrorText(), std::string(255, 'a'));
  CoreSetErrorText(std::string(256, 'b').c_str());
  EXPECT_EQ(CoreErrorText(), std::string(255, 'b'));
  CoreSetErrorText(std::string(100'000, 'c').c_str());
  EXPECT_EQ(CoreErrorText(), std::string(255, 'c'));
}

TEST(ErrorTextTest, CutsBetweenCharacters) {
  // The euro sign would take bytes 253 to 255, then 254 to 256, then 255 to 257.
  CoreSetErrorText((std::string(252, 'a') + "\xE2\x82\xAC").c_str());
  EXPECT_EQ(CoreErrorText(), std::string(252, 'a') + "\xE2\x82\xAC");
  CoreSetErrorText((std::string(253, 'a') + "\xE2\x82\xAC").c_str());
  EXPECT_EQ(CoreErrorText(), std::string(253, 'a'));
  CoreSetErrorText((std::string(254, 'a') + "\xE2\x82\xAC").c_str());
  EXPECT_EQ(CoreErrorText(), std::string(254, 'a'));
}

TEST(ErrorTextTest, MayBeGivenItsOwnText) {
  CoreSetErrorText("cannot read: input/output error");
  CoreSetErrorText(CoreErrorText());
  EXPECT_STREQ(CoreErrorText(), "cannot read: input/output error");
  CoreSetErrorText(CoreErrorText() + 13);
  EXPECT_STREQ(CoreErrorText(), "input/output error");
}

}  // namespace
