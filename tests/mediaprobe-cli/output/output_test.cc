#include "output/output.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OutputTest : public ::testing::Test {
 protected:
  std::unique_ptr<Output> Open() { return Output::ToFile({"(", ",", ")"}, path_); }
  std::string Written() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::vector<std::string> FilesInFolder() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
      names.push_back(entry.path().filename());
    return names;
  }

  testing::ScratchFolder folder_;
  std::string path_ = folder_.path() + "/list";
};

TEST_F(OutputTest, PutsTheFrameAroundTheRecords) {
  const auto output = Open();
  EXPECT_TRUE(output->Add("a"));
  EXPECT_TRUE(output->Add(""));
  EXPECT_TRUE(output->Add("b"));
  EXPECT_TRUE(output->End());
  EXPECT_EQ(Written(), "(a,b)");
}

TEST_F(OutputTest, WithoutRecordsIsTheFrame) {
  EXPECT_TRUE(Open()->End());
  EXPECT_EQ(Written(), "()");
}

TEST_F(OutputTest, TouchesTheFileAtTheEndOnly) {
  std::ofstream(path_) << "before";
  {
    const auto output = Open();
    EXPECT_TRUE(output->Add("a"));
    EXPECT_EQ(Written(), "before");
  }
  EXPECT_EQ(Written(), "before") << "an output that was not ended is dropped";
  EXPECT_THAT(FilesInFolder(), ElementsAre("list"));
  EXPECT_TRUE(Open()->End());
  EXPECT_EQ(Written(), "()");
  EXPECT_THAT(FilesInFolder(), ElementsAre("list"));
}

TEST_F(OutputTest, GivesTheFileTheUsualPermissions) {
  const mode_t before = umask(027);
  EXPECT_TRUE(Open()->End());
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(OutputTest, KeepsThePermissionsOfAFileThatIsThere) {
  folder_.AddFile("list");
  ASSERT_EQ(chmod(path_.c_str(), 0600), 0);
  EXPECT_TRUE(Open()->End());
  struct stat status {};
  ASSERT_EQ(stat(path_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(OutputTest, MayHaveTheLongestName) {
  path_ = folder_.path() + "/" + std::string(NAME_MAX, 'n');
  EXPECT_TRUE(Open()->End());
  EXPECT_EQ(Written(), "()");
  path_ += 'n';
  EXPECT_EQ(Open(), nullptr);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(OutputTest, GoesWhereALinkLeadsThatHasNoFileYet) {
  std::filesystem::create_directory(folder_.path() + "/below");
  std::filesystem::create_symlink("below/second", path_);
  std::filesystem::create_symlink("../real", folder_.path() + "/below/second");
  EXPECT_TRUE(Open()->End());
  EXPECT_TRUE(std::filesystem::is_symlink(path_));
  EXPECT_EQ(Written(), "()");
  EXPECT_THAT(FilesInFolder(), ::testing::UnorderedElementsAre("below", "list", "real"));
}

TEST_F(OutputTest, IsRefusedWhereALinkLeadsNowhere) {
  std::filesystem::create_symlink("list", path_);
  EXPECT_EQ(Open(), nullptr);
  EXPECT_EQ(errno, ELOOP);
}

TEST_F(OutputTest, GoesWhereALinkLeads) {
  folder_.AddFile("real", "before");
  std::filesystem::create_symlink("real", path_);
  EXPECT_TRUE(Open()->End());
  EXPECT_TRUE(std::filesystem::is_symlink(path_));
  EXPECT_EQ(Written(), "()");
  EXPECT_THAT(FilesInFolder(), ::testing::UnorderedElementsAre("list", "real"));
}

TEST_F(OutputTest, IsRefusedWhereNoFileCanBeWritten) {
  EXPECT_EQ(Output::ToFile({}, folder_.path() + "/missing/list"), nullptr);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(OutputTest, TellsWhyTheFileCannotBePutInPlace) {
  const auto output = Open();
  EXPECT_TRUE(output->Add("a"));
  std::filesystem::create_directory(path_);
  EXPECT_FALSE(output->End());
  EXPECT_EQ(output->error(), EISDIR);
}

TEST_F(OutputTest, WritesToADeviceAsItIs) {
  const auto output = Output::ToFile({"(", ",", ")"}, "/dev/full");
  ASSERT_NE(output, nullptr);
  EXPECT_FALSE(output->Add("a"));
  EXPECT_EQ(output->error(), ENOSPC);
  EXPECT_FALSE(output->End());
  EXPECT_EQ(output->error(), ENOSPC) << "the first error is kept";
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace mediaprobe
