#include "inputs/walked_inputs.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "inputs/listed_inputs.h"
#include "inputs/streamed_inputs.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using State = InputSource::State;

bool IsReadable(int descriptor) {
  pollfd watched{descriptor, POLLIN, 0};
  return poll(&watched, 1, /*timeout=*/0) == 1;
}

/// What can be had without waiting. Names of inputs that were found by walking have a plus before them.
std::vector<std::string> All(InputSource& source) {
  std::vector<std::string> names;
  Input input;
  State state = State::kInput;
  while ((state = source.Next(&input)) == State::kInput || (state == State::kWait && IsReadable(source.descriptor()))) {
    if (state == State::kInput) names.push_back((input.found_by_walk ? "+" : "") + input.name);
  }
  return names;
}

TEST(WalkedInputs, PutWhatLiesUnderFoldersInTheirPlace) {
  const testing::ScratchFolder folder;
  const std::string one = folder.AddFile("x/one.mp4");
  const std::string two = folder.AddFile("x/two.mp4");
  folder.AddFile("x/three.txt");
  const std::string walked = folder.path() + "/x";
  WalkedInputs source(std::make_unique<ListedInputs>(std::vector<std::string>{"first", walked, two, walked}),
                      {.include = {"*.mp4"}, .exclude = {}});
  EXPECT_THAT(All(source), ElementsAre("first", "+" + one, "+" + two, two, "+" + one, "+" + two));
  EXPECT_LT(source.descriptor(), 0);
  EXPECT_EQ(source.total(), std::nullopt);
}

TEST(WalkedInputs, LeaveWhatHasFailedAlone) {
  const testing::ScratchFolder folder;
  folder.AddFile("one.mp4");
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const std::string name = folder.path() + '\0';
  ASSERT_EQ(write(ends[1], name.data(), name.size()), static_cast<ssize_t>(name.size()));
  close(ends[1]);
  WalkedInputs source(std::make_unique<StreamedInputs>(ends[0], '\n'), {});
  EXPECT_THAT(All(source), ElementsAre(name));
  close(ends[0]);
}

TEST(WalkedInputs, ReturnAfterEachFolderThatHoldsNone) {
  const testing::ScratchFolder folder;
  folder.AddFile("a/b/one.txt");
  WalkedInputs source(std::make_unique<ListedInputs>(std::vector<std::string>(2, folder.path())),
                      {.include = {"*.mp4"}, .exclude = {}});
  Input input;
  for (int i = 0; i < 2; ++i) {
    for (const char* looked_into : {"the folder", "a", "b"}) {
      EXPECT_EQ(source.Next(&input), State::kWait) << looked_into;
      EXPECT_TRUE(IsReadable(source.descriptor())) << looked_into;
    }
  }
  EXPECT_EQ(source.Next(&input), State::kEnd);
}

TEST(WalkedInputs, WaitForAStreamThatHasNoMore) {
  const testing::ScratchFolder folder;
  const std::string file = folder.AddFile("one.mp4");
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const std::string line = folder.path() + "\n";
  ASSERT_EQ(write(ends[1], line.data(), line.size()), static_cast<ssize_t>(line.size()));
  WalkedInputs source(std::make_unique<StreamedInputs>(ends[0], '\n'), {});
  EXPECT_EQ(source.descriptor(), ends[0]);
  EXPECT_THAT(All(source), ElementsAre("+" + file));
  Input input;
  EXPECT_EQ(source.Next(&input), State::kWait);
  close(ends[1]);
  EXPECT_EQ(source.Next(&input), State::kEnd);
  close(ends[0]);
}

TEST(WalkedInputs, TellWhyAStreamCannotBeRead) {
  const int folder = open("/", O_RDONLY | O_CLOEXEC);
  WalkedInputs source(std::make_unique<StreamedInputs>(folder, '\n'), {});
  EXPECT_THAT(All(source), ElementsAre());
  EXPECT_EQ(source.error(), EISDIR);
  close(folder);
}

}  // namespace
}  // namespace mediaprobe
