#include "inputs/listed_inputs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> All(InputSource& source) {
  std::vector<std::string> names;
  Input input;
  while (source.Next(&input) == InputSource::State::kInput)
    names.push_back((input.found_by_walk ? "+" : "") + input.name);
  return names;
}

TEST(ListedInputs, GivesTheNamesInTheirOrder) {
  ListedInputs source({"b", "a", "b"});
  EXPECT_THAT(All(source), ElementsAre("b", "a", "b"));
  EXPECT_LT(source.descriptor(), 0);
}

TEST(ListedInputs, WalksFoldersWhenAskedTo) {
  const testing::ScratchFolder folder;
  const std::string one = folder.AddFile("x/one.mp4");
  const std::string two = folder.AddFile("x/two.mp4");
  folder.AddFile("x/three.txt");
  const WalkFilter filter{.include = {"*.mp4"}, .exclude = {}};
  ListedInputs source({"first", folder.path() + "/x", two, folder.path() + "/x"}, filter);
  EXPECT_THAT(All(source), ElementsAre("first", "+" + one, "+" + two, two, "+" + one, "+" + two));
}

TEST(ListedInputs, TakesAFolderForAnInputOtherwise) {
  const testing::ScratchFolder folder;
  folder.AddFile("one.mp4");
  ListedInputs source({folder.path()});
  EXPECT_THAT(All(source), ElementsAre(folder.path()));
}

}  // namespace
}  // namespace mediaprobe
