#include "worker/confinement.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

bool CanRead(const std::string& path) { return std::ifstream(path).get() != std::ifstream::traits_type::eof(); }
bool CanWrite(const std::string& path) { return std::ofstream(path, std::ios::app).is_open(); }

/// What `ask` says in a process that was confined to `input`; empty where the kernel cannot do it, and says so.
std::optional<bool> Confined(const std::string& input, const std::function<bool()>& ask) {
  constexpr int kYes = 0;
  constexpr int kNo = 1;
  constexpr int kUnconfined = 2;
  const pid_t child = fork();
  if (child == 0) _exit(!ConfineTo({input, false}, "/nowhere") ? kUnconfined : ask() ? kYes : kNo);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status) != kUnconfined, CanConfine());
  if (WEXITSTATUS(status) == kUnconfined) return std::nullopt;
  return WEXITSTATUS(status) == kYes;
}

class ConfinementTest : public ::testing::Test {
 protected:
  const testing::ScratchFolder folder_;
  const std::string input_ = folder_.AddFile("input.mp4");
  const std::string other_ = folder_.AddFile("other.mp4");
};

TEST_F(ConfinementTest, LeavesTheInputReadable) {
  EXPECT_NE(Confined(input_, [&] { return CanRead(input_); }), false);
}

TEST_F(ConfinementTest, HidesEverythingElse) {
  EXPECT_NE(Confined(input_, [&] { return CanRead(other_); }), true);
  EXPECT_NE(Confined(input_, [] { return CanRead("/etc/passwd"); }), true);
  EXPECT_NE(Confined(input_,
                     [&] {
                       std::error_code failure;
                       return std::filesystem::directory_iterator(folder_.path(), failure) !=
                              std::filesystem::directory_iterator();
                     }),
            true);
}

TEST_F(ConfinementTest, ForbidsWritingAndRunning) {
  EXPECT_NE(Confined(input_, [&] { return CanWrite(input_); }), true);
  EXPECT_NE(Confined(input_, [&] { return CanWrite(folder_.path() + "/new"); }), true);
  EXPECT_NE(Confined(input_, [] { return execl("/bin/true", "true", nullptr) == 0; }), true);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() + "/new"));
}

TEST_F(ConfinementTest, LeavesTheFramesOfASequenceReadable) {
  const std::string frame = folder_.AddFile("f_1.png");
  EXPECT_NE(Confined(folder_.path() + "/f_[1-2].png", [&] { return CanRead(frame); }), false);
  EXPECT_NE(Confined(folder_.path() + "/f_[1-2].png", [] { return CanRead("/etc/passwd"); }), true);
}

TEST_F(ConfinementTest, LeavesTheSystemsLibrariesReadable) {
  EXPECT_NE(Confined(input_, [] { return CanRead("/etc/ld.so.cache"); }), false);
}

}  // namespace
}  // namespace mediaprobe
