#include "worker/worker_pool.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "scratch_folder.h"
#include "worker/wishes.h"

namespace mediaprobe {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class ListSource final : public InputSource {
 public:
  explicit ListSource(std::vector<std::string> inputs) : inputs_(std::move(inputs)) {}

  State Next(Input* input) override {
    if (given_ == inputs_.size()) return State::kEnd;
    *input = {inputs_[given_++], false};
    return State::kInput;
  }
  std::size_t given() const { return given_; }

 private:
  std::vector<std::string> inputs_;
  std::size_t given_ = 0;
};

/// Names of workers' deeds: what the answer function of these tests does for an input.
Answer Act(const std::string& input) {
  if (input == "abort") std::abort();
  if (input == "kill") kill(getpid(), SIGKILL);
  if (input == "hang") std::this_thread::sleep_for(1h);
  if (input == "slow") std::this_thread::sleep_for(200ms);
  if (input == "leave") _exit(3);
  if (input == "hoard") {
    constexpr std::size_t kHoard = std::size_t{3} << 30;
    const bool got = mmap(nullptr, kHoard, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
    return {got ? "hoarded" : "refused", ""};
  }
  if (input == "babble") {
    // The worker's own end of the stream is among its lowest descriptors.
    constexpr char kBabble[] = "this is no message at all";
    for (int descriptor = 3; descriptor < 64; ++descriptor) send(descriptor, kBabble, sizeof kBabble, MSG_DONTWAIT);
    std::this_thread::sleep_for(1h);
  }
  return {input, ""};
}

class WorkerPoolTest : public ::testing::Test {
 protected:
  /// The texts handed out; a failure is told as "input: reason".
  std::vector<std::string> Run(InputSource& source, unsigned jobs = 2) {
    RunCallbacks callbacks;
    callbacks.answer = [this](const Input& input, const ReportDigest& report) { return act_(input.name, report); };
    callbacks.fail = [](const Input& input, const std::string& reason) {
      return Answer{input.name + ": " + reason, reason};
    };
    callbacks.time_limit = [this](const Input&) { return time_limit_; };
    callbacks.take = [this](const Answer& answer) {
      taken_.push_back(answer.text);
      if (on_take_) on_take_();
      return taken_.size() < most_;
    };
    callbacks.wait = [this](const RunCallbacks::Progress& progress) {
      if (progress.digest) digests_.push_back(progress.current + " " + std::to_string(progress.digest->done));
    };
    callbacks.stop = [this] { return stop_; };
    callbacks.company = company_;
    callbacks.enter = enter_;
    callbacks.grant = grant_;
    WorkerPool pool({.jobs = jobs, .memory_bytes = memory_bytes_, .wants_digests = wants_digests_},
                    std::move(callbacks));
    complete_ = pool.Run(source);
    return taken_;
  }
  std::vector<std::string> Run(std::vector<std::string> inputs, unsigned jobs = 2) {
    ListSource source(std::move(inputs));
    return Run(source, jobs);
  }

  std::chrono::milliseconds time_limit_ = 10s;
  std::uint64_t memory_bytes_ = std::uint64_t{1} << 30;
  bool wants_digests_ = true;
  std::function<Company(const Input&)> company_;
  std::function<bool(const Input&, Company, int)> enter_;
  std::function<bool(int)> grant_;
  std::function<Answer(const std::string&, const ReportDigest&)> act_ = [](const std::string& input,
                                                                           const ReportDigest&) { return Act(input); };
  std::function<void()> on_take_;
  std::size_t most_ = 1'000'000;
  bool stop_ = false;
  bool complete_ = false;
  std::vector<std::string> taken_;
  std::vector<std::string> digests_;
};

TEST_F(WorkerPoolTest, AnswersInTheOrderOfTheInputs) {
  EXPECT_THAT(Run({"slow", "a", "b", "slow", "c", "d"}, 3), ElementsAre("slow", "a", "b", "slow", "c", "d"));
  EXPECT_TRUE(complete_);
}

TEST_F(WorkerPoolTest, EndsAtOnceWithoutInputs) {
  EXPECT_THAT(Run(std::vector<std::string>{}), ::testing::IsEmpty());
  EXPECT_TRUE(complete_);
}

Answer OwnNumber(const std::string&, const ReportDigest&) { return {std::to_string(getpid()), ""}; }

TEST_F(WorkerPoolTest, GivesAFreshWorkerToEachInputThatIsToBeAlone) {
  act_ = OwnNumber;
  Run({"a", "b", "c"}, 1);
  EXPECT_THAT(taken_, Each(taken_.front())) << "they are used again otherwise";
  taken_.clear();
  company_ = [](const Input&) { return Company::kAlone; };
  Run({"a", "b", "c", "d"}, 2);
  EXPECT_THAT(std::set<std::string>(taken_.begin(), taken_.end()), SizeIs(4));
}

TEST_F(WorkerPoolTest, MixesNoCompanies) {
  act_ = OwnNumber;
  company_ = [](const Input& input) { return input.name == "url" ? Company::kNetwork : Company::kFiles; };
  Run({"a", "b", "url", "url", "c"}, 1);
  ASSERT_THAT(taken_, SizeIs(5));
  EXPECT_EQ(taken_[0], taken_[1]);
  EXPECT_NE(taken_[1], taken_[2]);
  EXPECT_EQ(taken_[2], taken_[3]);
  EXPECT_NE(taken_[3], taken_[4]);
}

TEST_F(WorkerPoolTest, EntersEachWorkerOnceBeforeItsFirstInput) {
  static std::string entered;
  enter_ = [](const Input& input, Company company, int descriptor) {
    entered += input.name + (company == Company::kFiles ? " among files" : " otherwise");
    return fcntl(descriptor, F_GETFD) >= 0;
  };
  act_ = [](const std::string& input, const ReportDigest&) { return Answer{input + ": " + entered, ""}; };
  EXPECT_THAT(Run({"a", "b"}, 1), ElementsAre("a: a among files", "b: a among files"));
  EXPECT_EQ(entered, "") << "in this process nothing is entered";
}

TEST_F(WorkerPoolTest, AnswersNothingInAWorkerThatCouldNotBeEntered) {
  enter_ = [](const Input&, Company, int) { return false; };
  EXPECT_THAT(Run({"a", "abort"}, 1),
              ElementsAre("a: the process cannot be confined", "abort: the process cannot be confined"));
}

TEST_F(WorkerPoolTest, GrantsAWishAndAnswersAgain) {
  bool is_there = false;
  act_ = [&](const std::string& input, const ReportDigest&) {
    if (!is_there) LeaveWithWish(7);
    return Answer{input, ""};
  };
  std::vector<int> wishes;
  grant_ = [&](int wish) {
    wishes.push_back(wish);
    return is_there = true;
  };
  EXPECT_THAT(Run({"a", "b", "c"}, 1), ElementsAre("a", "b", "c"));
  EXPECT_THAT(wishes, ElementsAre(7));
}

TEST_F(WorkerPoolTest, EndsTheWishesOfAnInputThatIsNeverContent) {
  act_ = [](const std::string& input, const ReportDigest&) {
    if (input == "greedy") LeaveWithWish(7);
    return Answer{input, ""};
  };
  grant_ = [](int) { return true; };
  EXPECT_THAT(Run({"a", "greedy", "b"}, 1),
              ElementsAre("a", "greedy: the probe broke down twice: left with status 107", "b"));
}

TEST_F(WorkerPoolTest, TakesAWishThatNobodyGrantsForABreakdown) {
  act_ = [](const std::string&, const ReportDigest&) -> Answer { LeaveWithWish(7); };
  EXPECT_THAT(Run({"a"}, 1), ElementsAre("a: the probe broke down twice: left with status 107"));
}

TEST_F(WorkerPoolTest, GrantsAProcessOfItsOwn) {
  static Company company = Company::kFiles;
  enter_ = [](const Input&, Company entered, int) {
    company = entered;
    return true;
  };
  act_ = [](const std::string& input, const ReportDigest&) {
    if (input == "link" && company == Company::kFiles) LeaveWithWish(kWishForOwnProcess);
    return Answer{input + (company == Company::kAlone ? " alone" : ""), ""};
  };
  EXPECT_THAT(Run({"a", "link", "b"}, 1), ElementsAre("a", "link alone", "b"));
}

TEST_F(WorkerPoolTest, TriesAFileThatIsReplacedInProcessesOfItsOwn) {
  const testing::ScratchFolder folder;
  act_ = [&](const std::string& input, const ReportDigest&) {
    std::ofstream(folder.path() + "/" + input, std::ios::app) << '.';
    const auto tries = std::filesystem::file_size(folder.path() + "/" + input);
    if (input == "always" || (input == "twice" && tries <= 2)) LeaveWithWish(kWishForOwnProcess);
    return Answer{input + " " + std::to_string(tries), ""};
  };
  EXPECT_THAT(Run({"a", "twice", "always", "b"}, 1),
              ElementsAre("a 1", "twice 3", "always: was replaced each time it was opened", "b 1"));
}

TEST_F(WorkerPoolTest, SaysThatAWorkerAskedForWhatItMustNot) {
  act_ = [](const std::string&, const ReportDigest&) -> Answer {
    raise(SIGSYS);
    return {};
  };
  EXPECT_THAT(Run({"a"}), ElementsAre("a: the probe broke down twice: it asked the system for what no probe needs"));
}

TEST_F(WorkerPoolTest, PreparesTheNextProcessWhileAnInputIsAlone) {
  const testing::ScratchFolder folder;
  company_ = [](const Input&) { return Company::kAlone; };
  enter_ = [&](const Input& input, Company, int) { return std::ofstream(folder.path() + "/" + input.name).is_open(); };
  act_ = [&](const std::string& input, const ReportDigest&) {
    while (input == "first" && !std::filesystem::exists(folder.path() + "/second")) std::this_thread::sleep_for(10ms);
    return Answer{input, ""};
  };
  EXPECT_THAT(Run({"first", "second", "third"}, 1), ElementsAre("first", "second", "third"));
}

TEST_F(WorkerPoolTest, GivesTheNextInputAProcessThatHasWhatWasWishedFor) {
  const testing::ScratchFolder folder;
  bool is_there = false;
  company_ = [](const Input&) { return Company::kAlone; };
  enter_ = [&](const Input& input, Company, int) { return std::ofstream(folder.path() + "/" + input.name).is_open(); };
  act_ = [&](const std::string& input, const ReportDigest&) {
    while (!std::filesystem::exists(folder.path() + "/second")) std::this_thread::sleep_for(10ms);
    if (!is_there) LeaveWithWish(7);
    return Answer{input, ""};
  };
  std::vector<int> wishes;
  grant_ = [&](int wish) {
    wishes.push_back(wish);
    return is_there = true;
  };
  EXPECT_THAT(Run({"first", "second", "third"}, 1), ElementsAre("first", "second", "third"));
  EXPECT_THAT(wishes, ElementsAre(7)) << "the second's process is older than what was granted";
}

TEST_F(WorkerPoolTest, FailsAnInputThatKillsItsWorkerTwice) {
  EXPECT_THAT(Run({"a", "abort", "b", "kill", "leave", "c"}),
              ElementsAre("a", "abort: the probe broke down twice: killed by signal 6 (Aborted)", "b",
                          "kill: the probe broke down twice: killed by signal 9 (Killed)",
                          "leave: the probe broke down twice: left with status 3", "c"));
  EXPECT_TRUE(complete_);
}

TEST_F(WorkerPoolTest, TriesAnInputThatKillsItsWorkerOnceMoreInAFreshOne) {
  const testing::ScratchFolder folder;
  const std::string mark = folder.path() + "/mark";
  act_ = [&](const std::string& input, const ReportDigest&) {
    static int answered = 0;
    if (input == "once" && !std::filesystem::exists(mark)) {
      std::filesystem::create_directory(mark);
      std::abort();
    }
    return Answer{input + " " + std::to_string(answered++), ""};
  };
  EXPECT_THAT(Run({"a", "once", "b"}, 1), ElementsAre("a 0", "once 0", "b 1"));
}

TEST_F(WorkerPoolTest, SaysThatMemoryDidNotSuffice) {
  act_ = [](const std::string&, const ReportDigest&) -> Answer { throw std::bad_alloc(); };
  EXPECT_THAT(Run({"a"}), ElementsAre("a: the probe broke down twice: out of memory"));
}

TEST_F(WorkerPoolTest, EndsAnInputThatTakesTooLong) {
  time_limit_ = 250ms;
  EXPECT_THAT(Run({"a", "hang", "b", "hang", "c"}, 1),
              ElementsAre("a", "hang: takes longer than 0.25 s", "b", "hang: takes longer than 0.25 s", "c"));
}

TEST_F(WorkerPoolTest, CountsTheTimeOfEachInputAlone) {
  time_limit_ = 1s;
  EXPECT_THAT(Run(std::vector<std::string>(8, "slow"), 1), SizeIs(8));
  EXPECT_THAT(taken_, Each(std::string("slow")));
}

TEST_F(WorkerPoolTest, CountsNoTimeInWhichNobodyListens) {
  time_limit_ = 500ms;
  // More than a socket holds: the second answer waits in its worker while the first one is taken.
  constexpr std::size_t kLong = std::size_t{4} << 20;
  act_ = [](const std::string& input, const ReportDigest&) { return Answer{std::string(kLong, input[0]), ""}; };
  on_take_ = [] { std::this_thread::sleep_for(1s); };
  EXPECT_THAT(Run({"a", "b", "c"}, 1),
              ElementsAre(std::string(kLong, 'a'), std::string(kLong, 'b'), std::string(kLong, 'c')));
}

TEST_F(WorkerPoolTest, GivesTheDigestAllTheTimeItNeeds) {
  time_limit_ = 250ms;
  act_ = [](const std::string& input, const ReportDigest& report) {
    report(0, 100);
    std::this_thread::sleep_for(300ms);
    report(60, 100);
    std::this_thread::sleep_for(300ms);
    return Answer{input, ""};
  };
  EXPECT_THAT(Run({"a"}), ElementsAre("a"));
  EXPECT_THAT(digests_, ::testing::IsSupersetOf({"a 0", "a 60"}));
}

TEST_F(WorkerPoolTest, EndsADigestThatStandsStill) {
  time_limit_ = 250ms;
  act_ = [](const std::string& input, const ReportDigest& report) {
    if (input == "endless") {
      for (const std::uint64_t done : {0, 60}) report(done, 100);
      for (std::uint64_t turn = 0;; ++turn) {
        std::this_thread::sleep_for(100ms);
        report(59 + turn % 2, 100);
      }
    }
    return Answer{input, ""};
  };
  EXPECT_THAT(Run({"endless", "a"}, 1), ElementsAre("endless: takes longer than 0.25 s", "a"));
}

TEST_F(WorkerPoolTest, GivesNoTimeForADigestThatNobodyAskedFor) {
  wants_digests_ = false;
  act_ = [](const std::string& input, const ReportDigest& report) {
    if (input == "sly") {
      report(0, 100);
      std::this_thread::sleep_for(1h);
    }
    return Answer{input, ""};
  };
  EXPECT_THAT(Run({"sly", "a"}, 1), ElementsAre(StartsWith("sly: the probe broke down twice"), "a"));
}

TEST_F(WorkerPoolTest, BoundsTheMemoryOfAWorker) {
  EXPECT_THAT(Run({"hoard", "a"}), ElementsAre("refused", "a"));
  memory_bytes_ = std::uint64_t{4} << 30;
  taken_.clear();
  EXPECT_THAT(Run({"hoard"}), ElementsAre("hoarded"));
}

TEST_F(WorkerPoolTest, TakesAWorkerThatTalksNonsenseForDead) {
  EXPECT_THAT(Run({"babble", "a"}), ElementsAre(StartsWith("babble: the probe broke down twice"), "a"));
}

TEST_F(WorkerPoolTest, BlamesTheRightOneOfManyInputsWithAWorker) {
  std::vector<std::string> inputs;
  std::vector<std::string> answers;
  for (int i = 0; i < 600; ++i) {
    const std::string name = std::to_string(i);
    // Quick ones, so that workers have many inputs when one dies.
    inputs.push_back(i % 97 == 96 ? "abort" : name);
    answers.push_back(i % 97 == 96 ? "abort: the probe broke down twice: killed by signal 6 (Aborted)" : name);
  }
  for (const unsigned jobs : {1U, 2U}) {
    taken_.clear();
    EXPECT_EQ(Run(inputs, jobs), answers);
  }
}

TEST_F(WorkerPoolTest, SharesOutWhatWaitsBehindASlowInput) {
  constexpr std::size_t kQuick = 200;
  constexpr std::size_t kBehind = 20;
  const testing::ScratchFolder folder;
  // The slow one ends when all behind it are answered, which those in its own worker never would be.
  act_ = [&](const std::string& input, const ReportDigest&) {
    const auto answered = [&] {
      const std::filesystem::directory_iterator marks(folder.path());
      return static_cast<std::size_t>(std::distance(begin(marks), end(marks)));
    };
    if (input.starts_with("behind")) std::filesystem::create_directory(folder.path() + "/" + input);
    while (input == "slow" && answered() < kBehind) std::this_thread::sleep_for(10ms);
    return Answer{input, ""};
  };
  std::vector<std::string> inputs(kQuick, "quick");
  inputs.emplace_back("slow");
  for (std::size_t i = 0; i < kBehind; ++i) inputs.push_back("behind " + std::to_string(i));
  EXPECT_EQ(Run(inputs, 2), inputs);
}

TEST_F(WorkerPoolTest, NeverWaitsForAWorkerThatWaitsForIt) {
  // More than a socket holds, both ways.
  act_ = [](const std::string& input, const ReportDigest&) {
    return Answer{input.size() == 1 ? input : std::string(input.size() * 8, 'l'), ""};
  };
  std::vector<std::string> inputs(100, "a");
  inputs.resize(140, std::string(frame::kMostInputBytes, 'n'));
  EXPECT_THAT(Run(inputs, 1), SizeIs(140));
  EXPECT_THAT(taken_.back(), SizeIs(8 * frame::kMostInputBytes));
}

TEST_F(WorkerPoolTest, RefusesANameThatIsTooLong) {
  const std::string longest(frame::kMostInputBytes, 'n');
  EXPECT_THAT(Run({longest, longest + "n", "a"}), ElementsAre(longest, HasSubstr("the name is too long"), "a"));
}

TEST_F(WorkerPoolTest, HoldsABoundedNumberOfAnswers) {
  ListSource source(std::vector<std::string>(5000, "a"));
  std::size_t most_ahead = 0;
  on_take_ = [&] { most_ahead = std::max(most_ahead, source.given() - taken_.size()); };
  EXPECT_THAT(Run(source, 4), SizeIs(5000));
  EXPECT_LE(most_ahead, 256u);
}

TEST_F(WorkerPoolTest, EndsWhenNobodyTakesTheAnswers) {
  most_ = 2;
  EXPECT_THAT(Run({"a", "b", "c", "hang"}), SizeIs(2));
  EXPECT_FALSE(complete_);
}

TEST_F(WorkerPoolTest, EndsWhenItIsStopped) {
  on_take_ = [this] { stop_ = true; };
  EXPECT_THAT(Run({"a", "hang"}), ElementsAre("a"));
  EXPECT_FALSE(complete_);
}

TEST_F(WorkerPoolTest, LeavesNoProcessBehind) {
  for (const Company company : {Company::kFiles, Company::kAlone}) {
    company_ = [=](const Input&) { return company; };
    Run({"a", "abort", "b", "c", "d"}, 3);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }
}

// Sanitizers look at memory by means of descriptors, and take all of it for bad when there are none left.
#if !defined(MEDIAPROBE_SANITIZED)
/// While it lives, no descriptor gets a number from there on.
class FewDescriptors {
 public:
  explicit FewDescriptors(rlim_t most) {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit few{most, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;

 private:
  rlimit before_{};
};

TEST_F(WorkerPoolTest, GoesOnWithAsManyWorkersAsCanBeStarted) {
  const std::vector<std::string> inputs(100, "a");
  act_ = [](const std::string& input, const ReportDigest&) {
    std::this_thread::sleep_for(5ms);
    return Answer{input, ""};
  };
  const FewDescriptors few(20);
  for (const Company company : {Company::kFiles, Company::kAlone}) {
    company_ = [=](const Input&) { return company; };
    taken_.clear();
    EXPECT_EQ(Run(inputs, 50), inputs);
  }
}

TEST_F(WorkerPoolTest, SaysWhyNoWorkerCanBeStarted) {
  const FewDescriptors none(0);
  EXPECT_THAT(Run({"a", "b"}), ElementsAre("a: no process can be started: Too many open files",
                                           "b: no process can be started: Too many open files"));
}

#endif

/// Gives one input at once and the next when its pipe says so.
class PipeSource final : public InputSource {
 public:
  PipeSource() { EXPECT_EQ(pipe(ends_), 0); }
  ~PipeSource() override {
    close(ends_[0]);
    close(ends_[1]);
  }

  State Next(Input* input) override {
    if (given_ == 2) return State::kEnd;
    if (given_ == 1 && !may_go_on_) return State::kWait;
    *input = {given_++ == 0 ? "first" : "second", false};
    return State::kInput;
  }
  int descriptor() const override { return ends_[0]; }
  void GoOn() {
    may_go_on_ = true;
    EXPECT_EQ(write(ends_[1], "x", 1), 1);
  }

 private:
  int ends_[2];
  int given_ = 0;
  bool may_go_on_ = false;
};

TEST_F(WorkerPoolTest, BlamesNoInputForAWorkerThatDiedWithoutOne) {
  const testing::ScratchFolder folder;
  const std::string mark = folder.path() + "/mark";
  act_ = [&](const std::string& input, const ReportDigest&) {
    if (input == "second" && std::filesystem::create_directory(mark)) std::abort();
    return Answer{input == "first" ? std::to_string(getpid()) : input, ""};
  };
  PipeSource source;
  on_take_ = [&] {
    if (taken_.size() > 1) return;
    const pid_t idle = std::stoi(taken_.front());
    kill(idle, SIGKILL);
    siginfo_t end;
    waitid(P_PID, static_cast<id_t>(idle), &end, WEXITED | WNOWAIT);
    source.GoOn();
  };
  EXPECT_EQ(Run(source, 1).back(), "second");
}

TEST_F(WorkerPoolTest, HandsOutWhatIsKnownWhileTheSourceWaits) {
  PipeSource source;
  on_take_ = [&] {
    if (taken_.size() == 1) source.GoOn();
  };
  EXPECT_THAT(Run(source), ElementsAre("first", "second"));
}

}  // namespace
}  // namespace mediaprobe
