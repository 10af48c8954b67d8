#include "probe/input_path.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using testing::ScratchFolder;

/// What the service makes of a URL: with a protocol in it the first six characters go.
std::string PathOfService(const std::string& url) { return url.find(":/") == std::string::npos ? url : url.substr(6); }

std::string CurrentFolder() {
  char* folder = get_current_dir_name();
  const std::string path = folder;
  free(folder);
  return path;
}

TEST(InputPath, NetworkUrlsPass) {
  for (const char* url : {"http://h/a.mp4", "https://h/a.mp4?x=file:/y"}) {
    EXPECT_EQ(ToInputPath(url).url, url);
    EXPECT_EQ(ToInputPath(url).local_path, std::nullopt);
  }
}

TEST(InputPath, RelativePathsBecomeAbsolute) {
  EXPECT_EQ(ToInputPath("a.mp4").url, CurrentFolder() + "/a.mp4");
  EXPECT_EQ(ToInputPath("a.mp4").local_path, CurrentFolder() + "/a.mp4");
  EXPECT_EQ(ToInputPath("../a.mp4").url, CurrentFolder() + "/../a.mp4");
}

TEST(InputPath, NamesThatLookLikeUrlsAreFiles) {
  EXPECT_EQ(ToInputPath("http_clips/a.mp4").url, CurrentFolder() + "/http_clips/a.mp4");
  EXPECT_EQ(ToInputPath("https").url, CurrentFolder() + "/https");
  EXPECT_EQ(ToInputPath("rtmp://h/a").local_path, CurrentFolder() + "/rtmp://h/a");
}

TEST(InputPath, AbsolutePathsStay) { EXPECT_EQ(ToInputPath("/v/a:b.mp4").url, "/v/a:b.mp4"); }

TEST(InputPath, PathsWithAProtocolInThemReachTheServiceWhole) {
  for (const char* path : {"/v/c:/a.mp4", "/http://h/a.mp4", "/v/file:/a.mp4", "/v/x://y"}) {
    const InputPath input = ToInputPath(path);
    EXPECT_NE(input.url.find("file:/"), std::string::npos) << path;
    EXPECT_EQ(PathOfService(input.url), path);
    EXPECT_EQ(input.local_path, path);
  }
}

TEST(InputPath, FileUrlsBecomeTheirPath) {
  for (const char* url :
       {"file:/v/a.mp4", "file:///v/a.mp4", "file://localhost/v/a.mp4", "files:///v/a.mp4", "files:/v/a.mp4"}) {
    EXPECT_EQ(ToInputPath(url).url, "/v/a.mp4") << url;
    EXPECT_EQ(ToInputPath(url).local_path, "/v/a.mp4") << url;
  }
  EXPECT_EQ(ToInputPath("file:a.mp4").url, CurrentFolder() + "/a.mp4");
}

TEST(InputPath, PercentEscapesAreReadWhereNoFileHasTheLiteralName) {
  const ScratchFolder folder;
  const std::string literal = folder.AddFile("a%20b.mp4");
  EXPECT_EQ(ToInputPath("file://" + literal).url, literal);
  EXPECT_EQ(ToInputPath("file:///v/My%20film%C3%a9.mp4").url, "/v/My film\xC3\xA9.mp4");
  EXPECT_EQ(ToInputPath("file:///v/%zz%4%00%").url, "/v/%zz%4%00%");
  EXPECT_EQ(ToInputPath("/v/a%20b.mp4").url, "/v/a%20b.mp4");
  folder.AddFile("f%20_1.png");
  EXPECT_EQ(ToInputPath("files://" + folder.path() + "/f%20_[1-3].png").local_path, folder.path() + "/f%20_[1-3].png");
  EXPECT_EQ(ToInputPath("files://" + folder.path() + "/g%20_[1-3].png").local_path, folder.path() + "/g _[1-3].png");
}

TEST(InputPath, SequencesAreNamesWithNumbersInBracketsThatNoFileHas) {
  const ScratchFolder folder;
  EXPECT_TRUE(ToInputPath(folder.path() + "/f_[1-3].png").is_sequence);
  EXPECT_TRUE(ToInputPath("file://" + folder.path() + "/f_[1-3].png").is_sequence);
  EXPECT_TRUE(ToInputPath("f_[1-3].png").is_sequence);
  EXPECT_FALSE(ToInputPath(folder.path() + "/f.png").is_sequence);
  EXPECT_FALSE(ToInputPath(folder.AddFile("g_[1-3].png")).is_sequence);
  EXPECT_FALSE(ToInputPath("http://h/f_[1-3].png").is_sequence);
}

TEST(InputPath, SequenceUrls) {
  const ScratchFolder folder;
  EXPECT_TRUE(ToInputPath("files://" + folder.path() + "/f_[1-3].png").is_sequence);
  EXPECT_TRUE(ToInputPath("files://" + folder.path() + "/none.png").is_sequence);
  EXPECT_FALSE(ToInputPath("files://" + folder.AddFile("g_[1-3].png")).is_sequence);
  EXPECT_FALSE(ToInputPath("files://" + folder.AddFile("a.mp4")).is_sequence);
}

/// What the image service makes of a URL: the first scheme that matches is dropped, one that is followed by a slash
/// only where a second one follows.
std::string PathOfImageService(const std::string& url) {
  for (const std::string scheme : {"file://", "files://", "file:/", "files:/"}) {
    const std::string rest = url.substr(std::min(scheme.size(), url.size()));
    if (url.starts_with(scheme) && (!rest.starts_with("/") || rest.starts_with("//"))) return rest;
  }
  return {};
}

TEST(InputPath, ImageServiceFindsThePath) {
  EXPECT_EQ(ImageUrl(ToInputPath("/v/a.png")), "file:///v/a.png");
  EXPECT_EQ(ImageUrl(ToInputPath("/v/a_[1-3].png")), "files:///v/a_[1-3].png");
  // One slash more in front names the same file.
  for (const char* path : {"/v/a.png", "/v/c:/a.png", "/files://x", "/v/a%20[x].png", "/v/\xff.png"}) {
    EXPECT_EQ(PathOfImageService(ImageUrl(ToInputPath(path))), "/" + std::string(path));
  }
  EXPECT_EQ(PathOfImageService(ImageUrl(ToInputPath("//v/a.png"))), "//v/a.png");
  EXPECT_EQ(PathOfImageService(ImageUrl(ToInputPath("/v/a_[1-3].png"))), "//v/a_[1-3].png");
}

TEST(InputPath, UuidServiceFindsThePath) {
  for (const char* path : {"/v/a.png", "/v/c:/a.png", "/files://x", "/v/file:/a.png"}) {
    EXPECT_EQ(PathOfService(UuidUrl(ToInputPath(path))), path);
  }
  EXPECT_EQ(UuidUrl(ToInputPath("/v/a_[1-3].png")), "files:///v/a_[1-3].png");
  EXPECT_EQ(UuidUrl(ToInputPath("http://h/a")), "http://h/a");
}

TEST(InputPath, FollowsTheServiceToTheFileWithTheOtherLetterCase) {
  const ScratchFolder folder;
  folder.AddFile("a.png");
  folder.AddFile("c:/b.png");
  InputPath path = ToInputPath(folder.path() + "/a.PNG");
  FollowService(path, folder.path() + "/a.png");
  EXPECT_EQ(path.url, folder.path() + "/a.png");
  EXPECT_EQ(path.local_path, folder.path() + "/a.png");

  InputPath with_colon = ToInputPath(folder.path() + "/c:/b.PNG");
  FollowService(with_colon, "file:/" + folder.path() + "/c:/b.png");
  EXPECT_EQ(with_colon.local_path, folder.path() + "/c:/b.png");

  InputPath missing = ToInputPath(folder.path() + "/x.PNG");
  FollowService(missing, folder.path() + "/x.png");
  EXPECT_EQ(missing.local_path, folder.path() + "/x.PNG");
}

TEST(InputPath, EmptyInputStaysEmpty) { EXPECT_EQ(ToInputPath("").url, ""); }

}  // namespace
}  // namespace mediaprobe
