#include "input_path.h"

#include <gtest/gtest.h>
#include <unistd.h>

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
}

TEST(InputPath, EmptyInputStaysEmpty) { EXPECT_EQ(ToInputPath("").url, ""); }

}  // namespace
}  // namespace mediaprobe
