#include "worker/run_here.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "inputs/listed_inputs.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;

class RunHereTest : public ::testing::Test {
 protected:
  bool Run(std::vector<std::string> inputs) {
    RunCallbacks callbacks;
    callbacks.answer = [](const Input& input, const ReportDigest& report) {
      if (input.name == "hoard") throw std::bad_alloc();
      report(1, 2);
      return Answer{input.name, ""};
    };
    callbacks.fail = [](const Input& input, const std::string& reason) {
      return Answer{input.name + ": " + reason, reason};
    };
    callbacks.take = [this](const Answer& answer) {
      taken_.push_back(answer.text);
      return taken_.size() < most_;
    };
    callbacks.wait = [this](const RunCallbacks::Progress& progress) {
      progress_.push_back(std::to_string(progress.answered) + " " + progress.current + (progress.digest ? "+" : ""));
    };
    callbacks.stop = [this] { return taken_.size() == stop_at_; };
    ListedInputs source(std::move(inputs));
    return RunHere(source, callbacks);
  }

  std::size_t most_ = 100;
  std::size_t stop_at_ = 100;
  std::vector<std::string> taken_;
  std::vector<std::string> progress_;
};

TEST_F(RunHereTest, AnswersOneInputAfterAnother) {
  EXPECT_TRUE(Run({"a", "b"}));
  EXPECT_THAT(taken_, ElementsAre("a", "b"));
  EXPECT_THAT(progress_, ElementsAre("0 a", "0 a+", "1 b", "1 b+"));
}

TEST_F(RunHereTest, FailsAnInputThatMemoryDoesNotSufficeFor) {
  EXPECT_TRUE(Run({"hoard", "b"}));
  EXPECT_THAT(taken_, ElementsAre("hoard: out of memory", "b"));
}

TEST_F(RunHereTest, EndsWhenNobodyTakesTheAnswers) {
  most_ = 1;
  EXPECT_FALSE(Run({"a", "b"}));
  EXPECT_THAT(taken_, ElementsAre("a"));
}

TEST_F(RunHereTest, EndsWhenItIsStopped) {
  stop_at_ = 1;
  EXPECT_FALSE(Run({"a", "b"}));
  EXPECT_THAT(taken_, ElementsAre("a"));
}

}  // namespace
}  // namespace mediaprobe
