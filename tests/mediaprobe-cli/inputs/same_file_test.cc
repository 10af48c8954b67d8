#include "inputs/same_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

namespace fs = std::filesystem;

class SameFileTest : public ::testing::Test {
 protected:
  testing::ScratchFolder folder_;
  const std::string a_ = folder_.AddFile("a.mp4");
  const std::string b_ = folder_.AddFile("b.mp4");
};

TEST_F(SameFileTest, IsKnownWhateverItsName) {
  EXPECT_TRUE(IsOneOf(a_, {b_, a_}));
  EXPECT_TRUE(IsOneOf(folder_.path() + "/./a.mp4", {a_}));
  EXPECT_TRUE(IsOneOf(a_, {"file://" + a_}));
  fs::create_symlink(a_, folder_.path() + "/link");
  EXPECT_TRUE(IsOneOf(folder_.path() + "/link", {a_}));
  EXPECT_TRUE(IsOneOf(a_, {folder_.path() + "/link"}));
  fs::create_hard_link(a_, folder_.path() + "/other");
  EXPECT_TRUE(IsOneOf(folder_.path() + "/other", {a_}));
}

TEST_F(SameFileTest, OfASequenceIsTheFirstFrame) {
  const std::string frame = folder_.AddFile("f1.png");
  EXPECT_TRUE(IsOneOf(frame, {folder_.path() + "/f[1-3].png"}));
}

TEST_F(SameFileTest, OthersAreNot) {
  EXPECT_FALSE(IsOneOf(b_, {a_, "http://host.invalid/b.mp4", folder_.path()}));
  EXPECT_FALSE(IsOneOf(folder_.path() + "/new", {folder_.path() + "/new"}));
  EXPECT_FALSE(IsOneOf("", {""}));
  EXPECT_FALSE(IsOneOf("/dev/null", {"/dev/null"})) << "nothing is lost there";
}

}  // namespace
}  // namespace mediaprobe
