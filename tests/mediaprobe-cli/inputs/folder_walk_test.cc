#include "inputs/folder_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FolderWalkTest : public ::testing::Test {
 protected:
  FolderWalkTest() {
    for (const char* name : {"b.mp4", "a.MP4", "c/d.jpg", "c/e/f.mp4", "c/e/.hidden", "z.txt"}) folder_.AddFile(name);
  }

  /// What the walk gives, without the folder's own path.
  std::vector<std::string> Walk(const WalkFilter& filter = {}) {
    std::vector<std::string> found;
    FolderWalk walk(folder_.path(), filter);
    while (!walk.is_done()) {
      const auto next = walk.Next();
      if (!next) continue;
      EXPECT_TRUE(next->path.starts_with(folder_.path() + "/"));
      EXPECT_EQ(next->error, 0);
      found.push_back(next->path.substr(folder_.path().size() + 1));
    }
    return found;
  }

  testing::ScratchFolder folder_;
};

TEST_F(FolderWalkTest, GivesFilesInTheOrderOfTheirNames) {
  EXPECT_THAT(Walk(), ElementsAre("a.MP4", "b.mp4", "c/d.jpg", "c/e/.hidden", "c/e/f.mp4", "z.txt"));
}

TEST_F(FolderWalkTest, KeepsTheSlashThatTheFolderWasGivenWith) {
  FolderWalk walk(folder_.path() + "/", {});
  EXPECT_EQ(walk.Next()->path, folder_.path() + "/a.MP4");
}

TEST_F(FolderWalkTest, TakesFilesThatAnIncludeNames) {
  EXPECT_THAT(Walk({.include = {"*.mp4", "*.jpg"}, .exclude = {}}), ElementsAre("b.mp4", "c/d.jpg", "c/e/f.mp4"));
}

TEST_F(FolderWalkTest, HoldsAPatternWithASlashAgainstThePath) {
  EXPECT_THAT(Walk({.include = {"c/*.mp4"}, .exclude = {}}), ElementsAre("c/e/f.mp4"));
}

TEST_F(FolderWalkTest, MatchesCharactersWhereANameHasThem) {
  for (const char* name : {"u/\xC3\xA4.x", "u/\xC3\xA4\xC3\xB6.x", "u/\xFF.x", "u/\xFF\xFE.x"}) folder_.AddFile(name);
  EXPECT_THAT(Walk({.include = {"?.x"}, .exclude = {}}), ElementsAre("u/\xC3\xA4.x", "u/\xFF.x"));
  EXPECT_THAT(Walk({.include = {"[\xC3\xA4-\xC3\xBC].x"}, .exclude = {}}), ElementsAre("u/\xC3\xA4.x"));
  EXPECT_THAT(Walk({.include = {"u/?.x"}, .exclude = {}}), ElementsAre("u/\xC3\xA4.x", "u/\xFF.x"));
}

TEST_F(FolderWalkTest, LeavesOutWhatAnExcludeNames) {
  EXPECT_THAT(Walk({.include = {}, .exclude = {"*.txt", "e"}}), ElementsAre("a.MP4", "b.mp4", "c/d.jpg"));
  EXPECT_THAT(Walk({.include = {"*.mp4"}, .exclude = {"b*"}}), ElementsAre("c/e/f.mp4"));
}

TEST_F(FolderWalkTest, FollowsLinksToFilesOnly) {
  std::filesystem::create_symlink("z.txt", folder_.path() + "/link");
  std::filesystem::create_symlink(".", folder_.path() + "/loop");
  std::filesystem::create_symlink("nowhere", folder_.path() + "/lost");
  ASSERT_EQ(mkfifo((folder_.path() + "/pipe").c_str(), 0600), 0);
  EXPECT_THAT(Walk({.include = {}, .exclude = {"c", "*.*"}}), ElementsAre("link"));
}

TEST_F(FolderWalkTest, GivesAFolderThatCannotBeRead) {
  for (const std::string& name : {folder_.path() + "/missing", folder_.path() + "/missing/"}) {
    FolderWalk walk(name, {});
    const auto found = walk.Next();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->path, name) << "as it was given";
    EXPECT_EQ(found->error, ENOENT);
    EXPECT_TRUE(walk.is_done());
  }
}

TEST_F(FolderWalkTest, TellsWhyAFolderBelowCannotBeRead) {
  FolderWalk walk(folder_.path(), {.include = {}, .exclude = {"*.*"}});
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const auto found = walk.Next();
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->path, folder_.path() + "/c");
  EXPECT_EQ(found->error, EMFILE);
}

TEST_F(FolderWalkTest, FindsNothingInAnEmptyFolder) {
  const testing::ScratchFolder empty;
  FolderWalk walk(empty.path(), {});
  EXPECT_FALSE(walk.Next());
  EXPECT_TRUE(walk.is_done());
}

TEST_F(FolderWalkTest, LooksIntoOneFolderAtATime) {
  FolderWalk walk(folder_.path(), {.include = {"nothing"}, .exclude = {}});
  for (const char* entered : {"c", "c/e"}) {
    EXPECT_FALSE(walk.Next());
    EXPECT_FALSE(walk.is_done()) << entered;
  }
  EXPECT_FALSE(walk.Next());
  EXPECT_TRUE(walk.is_done());
}

}  // namespace
}  // namespace mediaprobe
