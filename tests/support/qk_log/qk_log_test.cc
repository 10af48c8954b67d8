#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "core/log.h"
#include "media_server/imedia_server.h"
#include "platform/library.h"

namespace {

using testing::EndsWith;

class QkLogTest : public testing::Test {
 protected:
  void SetUp() override {
    HMODULE library = LoadLibraryA(QK_LOG_PATH);
    ASSERT_NE(library, nullptr) << platform::LibraryErrorText();
    set_protected_path_ =
        reinterpret_cast<media_server::SetProtectedPathFunction>(GetProcAddress(library, "SetProtectedPath"));
    ASSERT_NE(set_protected_path_, nullptr);
  }

  static std::string LoggedLine(const std::string& text) {
    testing::internal::CaptureStderr();
    CoreLogPrint("mediainfo", kCoreLogError, "%s", text.c_str());
    return testing::internal::GetCapturedStderr();
  }

  media_server::SetProtectedPathFunction set_protected_path_ = nullptr;
};

TEST_F(QkLogTest, TextIsMaskedInTheProcessesLog) {
  EXPECT_THAT(LoggedLine("key 00112233445566778899aabbccddeeff!"), EndsWith("key 00112233445566778899aabbccddeeff!\n"));
  set_protected_path_(u"00112233445566778899aabbccddeeff");
  EXPECT_THAT(LoggedLine("key 00112233445566778899aabbccddeeff!"), EndsWith("key ***!\n"));
}

TEST_F(QkLogTest, TextIsComparedAsUtf8) {
  set_protected_path_(u"/home/Ren\u00E9e/\U0001F511");
  EXPECT_THAT(LoggedLine("</home/Ren\xC3\xA9"
                         "e/\xF0\x9F\x94\x91>"),
              EndsWith("<***>\n"));
}

TEST_F(QkLogTest, NullAndEmptyTextsAreIgnored) {
  set_protected_path_(nullptr);
  set_protected_path_(u"");
  EXPECT_THAT(LoggedLine("plain"), EndsWith("] plain\n"));
}

}  // namespace
