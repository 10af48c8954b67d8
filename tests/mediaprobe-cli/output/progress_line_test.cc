#include "output/progress_line.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <thread>

#include "output/display_width.h"

namespace mediaprobe {
namespace {

using namespace std::chrono_literals;

TEST(ProgressText, TellsCountRateAndTimeLeft) {
  EXPECT_EQ(ProgressText({.answered = 214, .total = 1'250, .current = "d/a.mp4", .elapsed = 2s}, 80),
            "214 of 1,250, 107/s, 0:10 left, d/a.mp4");
  EXPECT_EQ(ProgressText({.answered = 3, .total = 40'000, .current = "a.mp4", .elapsed = 2s}, 80),
            "3 of 40,000, 1.5/s, 7:24:25 left, a.mp4");
}

TEST(ProgressText, TellsNoTimeLeftWhereTheTotalIsUnknown) {
  EXPECT_EQ(ProgressText({.answered = 1'000, .current = "a.mp4", .elapsed = 4s}, 80), "1,000, 250/s, a.mp4");
  EXPECT_EQ(ProgressText({.answered = 0, .total = 9, .current = "a.mp4", .elapsed = 4s}, 80), "0 of 9, 0/s, a.mp4");
}

TEST(ProgressText, TellsHowFarADigestIs) {
  RunProgress progress{.answered = 1, .total = 9, .current = "a.mp4", .elapsed = 1s};
  progress.digest = {.done = 520'000'000, .total = 1'268'000'000};
  EXPECT_EQ(ProgressText(progress, 80), "1 of 9, 1/s, 0:08 left, a.mp4: digesting, 41 % of 1.27 GB");
  progress.digest->total = 0;
  EXPECT_EQ(ProgressText(progress, 80), "1 of 9, 1/s, 0:08 left, a.mp4: digesting, 520 MB");
}

TEST(ProgressText, TellsOfASingleInputOnlyItsDigest) {
  RunProgress progress{.total = 1, .current = "a.mp4", .elapsed = 3s};
  EXPECT_EQ(ProgressText(progress, 80), "");
  progress.digest = {.done = 999, .total = 1'000};
  EXPECT_EQ(ProgressText(progress, 80), "a.mp4: digesting, 99 % of 1 kB");
}

TEST(ProgressText, FitsTheTerminalAndIsFitForIt) {
  RunProgress progress{.answered = 1, .total = 9, .current = std::string(300, 'x'), .elapsed = 1s};
  EXPECT_EQ(ProgressText(progress, 80).size(), 79u);
  EXPECT_TRUE(ProgressText(progress, 80).ends_with("xxx..."));
  EXPECT_LT(ProgressText(progress, 12).size(), 12u);
  progress.current.clear();
  for (int i = 0; i < 100; ++i) progress.current += "\u6d77";
  EXPECT_EQ(DisplayWidth(ProgressText(progress, 80)), 79u);
  progress.current = "a\x1b[31m";
  EXPECT_EQ(ProgressText(progress, 80), "1 of 9, 1/s, 0:08 left, a\\x1b[31m");
}

class ProgressLineTest : public ::testing::Test {
 protected:
  ~ProgressLineTest() override {
    std::fclose(file_);
    std::free(text_);
  }
  std::string Written() {
    std::fflush(file_);
    return {text_, length_};
  }

  char* text_ = nullptr;
  std::size_t length_ = 0;
  std::FILE* file_ = open_memstream(&text_, &length_);
};

TEST_F(ProgressLineTest, ShowsNothingOfAShortRun) {
  ProgressLine line(file_);
  line.Show({.answered = 1, .total = 2});
  line.Wipe();
  EXPECT_EQ(Written(), "");
}

TEST_F(ProgressLineTest, IsWrittenOverAndWiped) {
  {
    ProgressLine line(file_);
    std::this_thread::sleep_for(1100ms);
    line.Show({.answered = 0, .total = 2, .current = "a"});
    line.Show({.answered = 1, .total = 2, .current = "b"});
    EXPECT_EQ(Written(), "\r\x1b[K0 of 2, 0/s, a") << "only now and then";
    line.Wipe();
    line.Wipe();
    EXPECT_TRUE(Written().ends_with("a\r\x1b[K"));
  }
  EXPECT_EQ(Written(), "\r\x1b[K0 of 2, 0/s, a\r\x1b[K");
}

TEST_F(ProgressLineTest, IsRestoredAsItWas) {
  ProgressLine line(file_);
  line.Restore(/*is_below_open_line=*/false);
  EXPECT_EQ(Written(), "") << "which was not at all";
  std::this_thread::sleep_for(1100ms);
  line.Show({.answered = 0, .total = 2, .current = "a"});
  line.Wipe();
  line.Restore(/*is_below_open_line=*/false);
  EXPECT_EQ(Written(), "\r\x1b[K0 of 2, 0/s, a\r\x1b[K\r\x1b[K0 of 2, 0/s, a");
}

TEST_F(ProgressLineTest, StandsBelowWhatHasNotEndedItsLine) {
  ProgressLine line(file_);
  line.Restore(/*is_below_open_line=*/true);
  std::this_thread::sleep_for(1100ms);
  line.Show({.answered = 0, .total = 2, .current = "a"});
  EXPECT_EQ(Written(), "\n0 of 2, 0/s, a");
  line.Restore(/*is_below_open_line=*/false);
  EXPECT_EQ(Written(), "\n0 of 2, 0/s, a\r\x1b[K0 of 2, 0/s, a");
}

TEST(ProgressLine, MayBeShownNowhere) {
  ProgressLine line(nullptr);
  line.Show({.answered = 1, .total = 2});
  line.Restore(/*is_below_open_line=*/true);
}

}  // namespace
}  // namespace mediaprobe
