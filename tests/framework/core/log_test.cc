#include "core/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/error_text.h"

namespace {

namespace fs = std::filesystem;

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class LogTest : public testing::Test {
 protected:
  LogTest() : folder_(fs::path(testing::TempDir()) / ("core_log_test." + std::to_string(getpid()))) {
    fs::remove_all(folder_);
  }
  ~LogTest() override {
    CoreLogSetFolder(nullptr);
    CoreLogSetLevel(kCoreLogWarning);
    fs::remove_all(folder_);
  }

  static std::string StandardErrorOf(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
  }

  fs::path LogFile() const { return folder_ / "mediainfo.log"; }
  std::string LogFileText() const {
    std::ostringstream text;
    text << std::ifstream(LogFile()).rdbuf();
    return text.str();
  }

  const fs::path folder_;
};

TEST_F(LogTest, LineTellsTimeTagLevelAndText) {
  const std::string line =
      StandardErrorOf([] { CoreLogPrint("mediainfo", kCoreLogError, "%s %d failed!", "Init", 312); });
  EXPECT_THAT(line, MatchesRegex("\\[[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+\\.[0-9]+\\] \\[mediainfo\\] \\[error\\] "
                                 "Init 312 failed!\n"));
}

struct LevelName {
  int level;
  const char* name;
};
constexpr LevelName kLevelNames[] = {
    {-7, "[trace]"},
    {kCoreLogTrace, "[trace]"},
    {kCoreLogDebug, "[debug]"},
    {kCoreLogInfo, "[info]"},
    {kCoreLogWarning, "[warning]"},
    {kCoreLogError, "[error]"},
    {kCoreLogFatal, "[critical]"},
    {99, "[critical]"},
};

TEST_F(LogTest, EveryLevelHasItsName) {
  CoreLogSetLevel(-7);
  for (const LevelName& expected : kLevelNames) {
    EXPECT_THAT(StandardErrorOf([&] { CoreLogPrint("t", expected.level, "x"); }), HasSubstr(expected.name));
  }
}

TEST_F(LogTest, ThresholdIsWarningAtTheStart) {
  // Run in a process of its own, in which nothing has set a level.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        CoreLogPrint("t", kCoreLogInfo, "an info");
        CoreLogPrint("t", kCoreLogWarning, "a warning");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), AllOf(HasSubstr("a warning"), Not(HasSubstr("an info"))));
}

TEST_F(LogTest, DropsWhatIsBelowTheThreshold) {
  for (int threshold = kCoreLogTrace; threshold <= kCoreLogFatal; ++threshold) {
    CoreLogSetLevel(threshold);
    EXPECT_EQ(StandardErrorOf([&] { CoreLogPrint("t", threshold - 1, "x"); }), "") << threshold;
    EXPECT_NE(StandardErrorOf([&] { CoreLogPrint("t", threshold, "x"); }), "") << threshold;
  }
}

TEST_F(LogTest, OffDropsEverything) {
  CoreLogSetLevel(kCoreLogOff);
  EXPECT_EQ(StandardErrorOf([] {
              CoreLogPrint("t", kCoreLogFatal, "x");
              CoreLogPrint("t", kCoreLogOff, "x");
              CoreLogPrint("t", 99, "x");
            }),
            "");
}

TEST_F(LogTest, DropsBeforeFormatting) {
  // Reading the text would end the process.
  const auto* unreadable = reinterpret_cast<const char*>(std::uintptr_t{8});
  EXPECT_EQ(StandardErrorOf([&] { CoreLogPrint("t", kCoreLogInfo, "%s", unreadable); }), "");
}

TEST_F(LogTest, LongTextsComeWhole) {
  for (const std::size_t length : {255U, 256U, 257U, 1000U, 65'536U}) {
    const std::string text(length, 'x');
    EXPECT_THAT(StandardErrorOf([&] { CoreLogPrint("t", kCoreLogError, "%s", text.c_str()); }),
                EndsWith("] " + text + "\n"));
  }
}

TEST_F(LogTest, TextsPast64KibibytesAreCut) {
  const std::string text(65'537, 'x');
  EXPECT_THAT(StandardErrorOf([&] { CoreLogPrint("t", kCoreLogError, "%s", text.c_str()); }),
              EndsWith("] " + std::string(65'536, 'x') + "...\n"));
}

TEST_F(LogTest, CutLeavesNoPartOfAProtectedText) {
  CoreLogProtect("straddling secret");
  const std::string text = std::string(65'530, 'x') + "straddling secret";
  EXPECT_THAT(StandardErrorOf([&] { CoreLogPrint("t", kCoreLogError, "%s", text.c_str()); }), EndsWith("x***\n"));
}

TEST_F(LogTest, NullTagAndFormatAreEmpty) {
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint(nullptr, kCoreLogError, "text"); }), EndsWith("[error] text\n"));
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, nullptr); }), EndsWith("[t] [error] \n"));
}

TEST_F(LogTest, MoreValuesThanTheFormatNamesAreLeftOut) {
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("service", 6, "mediainfo", "%s %d failed!", "Init", 312); }),
              EndsWith("[service] [error] mediainfo\n"));
}

TEST_F(LogTest, FormatStandsInForATextThatCannotBeFormatted) {
  // A unit that is no character has no narrow form in any locale.
  const wchar_t unprintable[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_THAT(StandardErrorOf([&] { CoreLogPrint("t", kCoreLogError, "name %ls", unprintable); }),
              EndsWith("] name %ls\n"));
}

TEST_F(LogTest, LineStaysOneLineOfValidUtf8) {
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("a\nb", kCoreLogError, "one\ntwo \xFF %s", "\x1B[31m"); }),
              EndsWith("[a\\nb] [error] one\\ntwo \xEF\xBF\xBD \\x1B[31m\n"));
}

TEST_F(LogTest, ProtectedTextsAreMaskedInTextAndTag) {
  CoreLogProtect("key-of-one");
  CoreLogProtect("key-of-one-and-more");
  CoreLogProtect("key-of-one");
  EXPECT_THAT(
      StandardErrorOf([] { CoreLogPrint("key-of-one", kCoreLogError, "%s, %s", "key-of-one-and-more", "key-of-one"); }),
      EndsWith("[***] [error] ***, ***\n"));
}

TEST_F(LogTest, ProtectedTextIsMaskedBeforeItIsEscaped) {
  CoreLogProtect("two\nlines\xFF");
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, "<two\nlines\xFF>"); }), EndsWith("] <***>\n"));
}

TEST_F(LogTest, NullAndEmptyProtectedTextsAreIgnored) {
  CoreLogProtect(nullptr);
  CoreLogProtect("");
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, "text"); }), EndsWith("] text\n"));
}

TEST_F(LogTest, FileGetsTheLinesOfStandardError) {
  const fs::path nested = folder_ / "with" / "caf\xC3\xA9";
  ASSERT_TRUE(CoreLogSetFolder(nested.c_str()));
  std::ostringstream text;
  const std::string line = StandardErrorOf([&] {
    CoreLogPrint("t", kCoreLogError, "to both");
    // Read here: the file is still open, and the end of capturing would flush whatever this process has buffered.
    text << std::ifstream(nested / "mediainfo.log").rdbuf();
  });
  EXPECT_THAT(line, EndsWith("to both\n"));
  EXPECT_EQ(text.str(), line);
}

TEST_F(LogTest, FileTakesThePlaceOfStandardError) {
  fs::create_directories(folder_);
  const fs::path path = folder_ / "tool.log";
  const std::string lines = StandardErrorOf([&] {
    ASSERT_TRUE(CoreLogSetFile(path.c_str()));
    CoreLogPrint("t", kCoreLogError, "into the file");
    EXPECT_FALSE(CoreLogSetFile((path / "in the way").c_str())) << "which changes nothing";
    CoreLogPrint("t", kCoreLogError, "this one too");
    ASSERT_TRUE(CoreLogSetFile(nullptr));
    CoreLogPrint("t", kCoreLogError, "back again");
  });
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  EXPECT_THAT(text.str(), AllOf(HasSubstr("into the file\n"), EndsWith("this one too\n")));
  EXPECT_THAT(lines, AllOf(EndsWith("back again\n"), Not(HasSubstr("the file")), Not(HasSubstr("this one"))));
}

TEST_F(LogTest, FileMakesNoFolder) {
  EXPECT_FALSE(CoreLogSetFile((folder_ / "tool.log").c_str()));
  EXPECT_STREQ(CoreErrorText(), "No such file or directory");
  EXPECT_FALSE(fs::exists(folder_));
}

TEST_F(LogTest, NullAndEmptyFolderCloseTheFile) {
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    ASSERT_TRUE(CoreLogSetFolder(folder_.c_str()));
    EXPECT_TRUE(CoreLogSetFolder(none));
    const std::string before = LogFileText();
    EXPECT_NE(StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, "x"); }), "");
    EXPECT_EQ(LogFileText(), before);
  }
}

TEST_F(LogTest, FileIsContinued) {
  fs::create_directories(folder_);
  std::ofstream(LogFile()) << "older line\n";
  ASSERT_TRUE(CoreLogSetFolder(folder_.c_str()));
  StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, "newer line"); });
  EXPECT_THAT(LogFileText(), AllOf(testing::StartsWith("older line\n"), EndsWith("newer line\n")));
}

TEST_F(LogTest, FolderThatCannotBeUsedClosesTheFile) {
  ASSERT_TRUE(CoreLogSetFolder(folder_.c_str()));
  const fs::path in_the_way = folder_ / "a file";
  std::ofstream(in_the_way) << "x";
  EXPECT_FALSE(CoreLogSetFolder(in_the_way.c_str()));
  EXPECT_THAT(StandardErrorOf([] { CoreLogPrint("t", kCoreLogError, "still told"); }), HasSubstr("still told"));
  EXPECT_EQ(LogFileText(), "");
}

TEST_F(LogTest, ThreadsWriteWholeLines) {
  constexpr int kThreads = 8;
  constexpr int kLines = 200;
  const std::string padding(300, 'x');
  ASSERT_TRUE(CoreLogSetFolder(folder_.c_str()));
  StandardErrorOf([&] {
    std::vector<std::jthread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (int line = 0; line < kLines; ++line) {
          CoreLogPrint("t", kCoreLogError, "thread %d line %d %s.", thread, line, padding.c_str());
          CoreLogProtect(("protected " + std::to_string(thread * kLines + line % 10)).c_str());
          CoreLogSetLevel(kCoreLogWarning);
        }
      });
    }
  });

  std::vector<int> next(kThreads, 0);
  std::ifstream file(LogFile());
  for (std::string line; std::getline(file, line);) {
    const std::size_t start = line.find("thread ");
    ASSERT_NE(start, std::string::npos) << line;
    const int thread = std::atoi(line.c_str() + start + 7);
    ASSERT_EQ(line.substr(start), "thread " + std::to_string(thread) + " line " +
                                      std::to_string(next.at(static_cast<std::size_t>(thread))++) + " " + padding +
                                      ".");
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST_F(LogTest, FolderMayChangeWhileThreadsWrite) {
  const std::string output = StandardErrorOf([&] {
    std::vector<std::jthread> threads(4);
    for (std::jthread& thread : threads) {
      thread = std::jthread([] {
        for (int line = 0; line < 100; ++line) CoreLogPrint("t", kCoreLogError, "line");
      });
    }
    for (int change = 0; change < 50; ++change) CoreLogSetFolder(change % 2 == 0 ? folder_.c_str() : nullptr);
  });
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 400);
}

}  // namespace
