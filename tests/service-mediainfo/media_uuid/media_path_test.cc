#include "service-mediainfo/media_uuid/media_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "fakes/temp_folder.h"

namespace service::mediainfo::media_uuid::impl {
namespace {

TEST(PathOfUrl, DropsSixCharactersOfAFileUrl) {
  EXPECT_EQ(PathOfUrl("file:///D:/m/a.mp4"), "//D:/m/a.mp4");
  EXPECT_EQ(PathOfUrl("file://D:/m/a.mp4"), "/D:/m/a.mp4");
  EXPECT_EQ(PathOfUrl("file:/m/a.mp4"), "m/a.mp4");
  EXPECT_EQ(PathOfUrl("file:/"), "");
}

TEST(PathOfUrl, DropsTheFirstSixWhereverTheSchemeStands) {
  EXPECT_EQ(PathOfUrl("http://x/file:/y"), "/x/file:/y");
  EXPECT_EQ(PathOfUrl("files:///x/file:/y"), "///x/file:/y");
  EXPECT_EQ(PathOfUrl("xfile:/y"), "/y");
}

TEST(PathOfUrl, TakesATextWithoutColonAndSlashAsItIs) {
  EXPECT_EQ(PathOfUrl("D:\\m\\a.mp4"), "D:\\m\\a.mp4");
  EXPECT_EQ(PathOfUrl("/m/a.mp4"), "/m/a.mp4");
  EXPECT_EQ(PathOfUrl("/m:a/b.mp4"), "/m:a/b.mp4");
  EXPECT_EQ(PathOfUrl("file:a.mp4"), "file:a.mp4");
  EXPECT_EQ(PathOfUrl(""), "");
}

TEST(PathOfUrl, KnowsNoOtherScheme) {
  EXPECT_EQ(PathOfUrl("D:/m/a.mp4"), "");
  EXPECT_EQ(PathOfUrl("http://x/a.mp4"), "");
  EXPECT_EQ(PathOfUrl("files://X:/seq/f_[1-9].png"), "");
  EXPECT_EQ(PathOfUrl("FILE:///a.mp4"), "");
}

TEST(FindRegularFile, FindsAFileByPathAndByUrl) {
  const fakes::TempFolder folder;
  const std::string file = folder.MakeFile("a \xC3\xA9.mp4");
  EXPECT_EQ(FindRegularFile(file), file);
  EXPECT_EQ(FindRegularFile("file:/" + file), file);
  // Two slashes at the start are a root of their own and stay.
  EXPECT_EQ(FindRegularFile("file://" + file), "/" + file);
}

TEST(FindRegularFile, FindsAFileWhoseNameIsNoText) {
  const fakes::TempFolder folder;
  const std::string file = folder.MakeFile("a\xE9.mp4");
  EXPECT_EQ(FindRegularFile(file), file);
}

TEST(FindRegularFile, SeesThroughALink) {
  const fakes::TempFolder folder;
  std::filesystem::create_symlink(folder.MakeFile("a.mp4"), folder.path() / "link");
  EXPECT_EQ(FindRegularFile((folder.path() / "link").string()), (folder.path() / "link").string());
}

TEST(FindRegularFile, FindsNothingElse) {
  const fakes::TempFolder folder;
  const std::string path = folder.path().string();
  EXPECT_EQ(FindRegularFile(path), "");
  EXPECT_EQ(FindRegularFile("file:/" + path), "");
  EXPECT_EQ(FindRegularFile(path + "/missing.mp4"), "");
  EXPECT_EQ(FindRegularFile(""), "");
  EXPECT_EQ(FindRegularFile("/dev/null"), "");
  ASSERT_EQ(mkfifo((path + "/fifo").c_str(), 0600), 0);
  EXPECT_EQ(FindRegularFile(path + "/fifo"), "");
  const std::string file = folder.MakeFile("a.mp4");
  EXPECT_EQ(FindRegularFile("http:/" + file), "");
  EXPECT_EQ(FindRegularFile(file + "/a.mp4"), "");
}

}  // namespace
}  // namespace service::mediainfo::media_uuid::impl
