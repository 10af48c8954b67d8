#include "media-server/io/file_source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

namespace media_server {
namespace {

class FileSourceTest : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(folder_); }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string Path(const char* name) const { return (folder_ / name).string(); }

  std::filesystem::path folder_ =
      std::filesystem::path(testing::TempDir()) /
      (std::string("file_source_") + testing::UnitTest::GetInstance()->current_test_info()->name());
  std::string reason_;
};

TEST_F(FileSourceTest, ReadsByPositionUpToTheEnd) {
  std::ofstream(Path("file")) << "0123456789";
  const auto source = OpenFileSource(Path("file").c_str(), &reason_);
  ASSERT_NE(source, nullptr);
  std::array<std::uint8_t, 4> out{};
  EXPECT_EQ(source->ReadAt(8, out), 2u);
  EXPECT_EQ(out[0], '8');
  EXPECT_EQ(out[1], '9');
  EXPECT_EQ(source->ReadAt(10, out), 0u);
  EXPECT_EQ(source->ReadAt(~std::uint64_t{0}, out), 0u);
  EXPECT_EQ(source->Size(), 10u);
}

TEST_F(FileSourceTest, TellsAFileThatBecomesShorterFromOneThatEnds) {
  std::ofstream(Path("file")) << "0123456789";
  const auto source = OpenFileSource(Path("file").c_str(), &reason_);
  ASSERT_NE(source, nullptr);
  std::array<std::uint8_t, 4> out{};
  EXPECT_EQ(source->ReadAt(8, out), 2u);
  EXPECT_EQ(source->ReadAt(12, out), 0u);
  EXPECT_EQ(source->ReadFailure(), nullptr);
  std::filesystem::resize_file(Path("file"), 7);
  EXPECT_EQ(source->ReadAt(5, out), 2u);
  EXPECT_STREQ(source->ReadFailure(), "became shorter while it was read");
}

TEST_F(FileSourceTest, SaysThatAFileIsMissing) {
  EXPECT_EQ(OpenFileSource(Path("missing").c_str(), &reason_), nullptr);
  EXPECT_EQ(reason_, "no such file");
}

TEST_F(FileSourceTest, RefusesAFolder) {
  EXPECT_EQ(OpenFileSource(folder_.c_str(), &reason_), nullptr);
  EXPECT_EQ(reason_, "is a folder");
}

TEST_F(FileSourceTest, RefusesAPipeWithoutWaitingForAWriter) {
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(OpenFileSource(Path("pipe").c_str(), &reason_), nullptr);
  EXPECT_EQ(reason_, "not a regular file");
}

}  // namespace
}  // namespace media_server
