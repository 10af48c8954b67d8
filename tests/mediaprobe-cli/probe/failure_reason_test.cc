#include "probe/failure_reason.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using testing::ScratchFolder;

std::string ReasonForPath(const std::string& path, const std::string& service_reason = "file ends early") {
  return FailureReason({path, path}, service_reason, "not a media file");
}

TEST(FailureReason, TheFileSystemIsAskedFirst) {
  const ScratchFolder folder;
  EXPECT_EQ(ReasonForPath(folder.path() + "/none.mp4"), "no such file");
  EXPECT_EQ(ReasonForPath(folder.AddFile("a.mp4") + "/b.mp4"), "no such file");
  EXPECT_EQ(ReasonForPath(folder.path()), "is a folder");
  EXPECT_EQ(ReasonForPath(folder.AddFile("empty.mp4", "")), "empty file");
  EXPECT_EQ(ReasonForPath("/dev/null"), "not a regular file");
  EXPECT_EQ(ReasonForPath(folder.path() + "/" + std::string(300, 'x')), "File name too long");
}

TEST(FailureReason, LinksInACircle) {
  const ScratchFolder folder;
  const std::string link = folder.path() + "/loop";
  ASSERT_EQ(symlink(link.c_str(), link.c_str()), 0);
  EXPECT_EQ(ReasonForPath(link), "Too many levels of symbolic links");
}

/// A process that may read everything, as root may, sees no such failure.
TEST(FailureReason, NoPermission) {
  const ScratchFolder folder;
  const std::string path = folder.AddFile("secret.mp4");
  ASSERT_EQ(chmod(path.c_str(), 0), 0);
  const bool may_read_all = access(path.c_str(), R_OK) == 0;
  EXPECT_EQ(ReasonForPath(path), may_read_all ? "file ends early" : "no permission");
}

TEST(FailureReason, TellsWhatIsNothingToReadFromWhatIsBroken) {
  for (const char* reason : {"not a media file", "not an image", "not an SVG document", "empty file",
                             "a still image, not a media file", "an SVG image, not a media file"}) {
    EXPECT_TRUE(IsNothingToRead(reason)) << reason;
  }
  for (const char* reason : {"", "file ends early", "no permission", "is a folder"}) {
    EXPECT_FALSE(IsNothingToRead(reason)) << reason;
  }
}

TEST(FailureReason, ThenTheServiceAndLastAGeneralWord) {
  const ScratchFolder folder;
  const std::string path = folder.AddFile("a.mp4");
  EXPECT_EQ(ReasonForPath(path), "file ends early");
  EXPECT_EQ(ReasonForPath(path, ""), "not a media file");
}

TEST(FailureReason, OfASequenceTheFirstFrameIsLookedAtAndNamed) {
  const ScratchFolder folder;
  const std::string pattern = folder.path() + "/f_[01-10].png";
  const InputPath input{"", pattern, /*is_sequence=*/true};
  EXPECT_EQ(FailureReason(input, "not opened", "not an image"), "no such file: " + folder.path() + "/f_01.png");
  folder.AddFile("f_01.png");
  EXPECT_EQ(FailureReason(input, "file ends early", "not an image"), "file ends early: " + folder.path() + "/f_01.png");
  EXPECT_EQ(FailureReason(input, "", "not an image"), "not an image: " + folder.path() + "/f_01.png");
}

TEST(FailureReason, NetworkUrlsHaveNoFile) {
  EXPECT_EQ(FailureReason({"http://h/a", std::nullopt}, "server answered 404", "not a media file"),
            "server answered 404");
  EXPECT_EQ(FailureReason({"http://h/a", std::nullopt}, "", "not a media file"), "cannot be opened");
}

}  // namespace
}  // namespace mediaprobe
