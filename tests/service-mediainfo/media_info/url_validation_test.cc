#include "service-mediainfo/media_info/url_validation.h"

#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "core/error_text.h"
#include "fakes/fixture.h"
#include "fakes/temp_folder.h"

namespace service::mediainfo {
namespace {

constexpr char kStatusFormat[] =
    "fs::status: %s [url] %s [path] %s [LINE] %d [fs::file_type] %d [std::error_code] %s failed!";

class UrlValidationTest : public fakes::Fixture {
 protected:
  bool IsValid(const std::string& url) {
    url_ = url;
    path_ = "untouched";
    return IsValidPath(url_.data(), &path_);
  }

  /// Expects the line about a path that is no file, with its text up to the error's message.
  static void ExpectStatusLine(const std::string& url, const std::string& path, int file_type) {
    const std::vector<fakes::LogLine> lines = fakes::TakeLog();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].tag, "mediainfo");
    EXPECT_EQ(lines[0].level, 6);
    EXPECT_EQ(lines[0].format, kStatusFormat);
    const std::string start = "fs::status: service::mediainfo::IsValidPath [url] " + url + " [path] " + path +
                              " [LINE] 109 [fs::file_type] " + std::to_string(file_type) + " [std::error_code] ";
    EXPECT_EQ(lines[0].text.substr(0, start.size()), start);
    EXPECT_TRUE(lines[0].text.ends_with(" failed!")) << lines[0].text;
  }

  fakes::TempFolder folder_;
  std::string url_;
  std::string path_;
};

TEST_F(UrlValidationTest, PassesTextsThatBeginWithHttp) {
  for (const char* url : {"http://host/a.mp4", "https://host/a.mp4?x=file:/y", "httpfoo", "http"}) {
    EXPECT_TRUE(IsValid(url));
    EXPECT_EQ(path_, url);
  }
}

TEST_F(UrlValidationTest, ExaminesTextsThatHoldHttpFurtherOn) {
  EXPECT_FALSE(IsValid("ftp://http/a.mp4"));
  fakes::TakeLog();
  const std::string file = folder_.MakeFile("http.mp4");
  EXPECT_TRUE(IsValid(file));
  EXPECT_EQ(path_, file);
}

TEST_F(UrlValidationTest, RefusesOtherProtocols) {
  for (const std::string url :
       {"rtmp://host/a", "c:/media/clip.mp4", "HTTP://host/a", "FILE:/a", "files:/a", "://", ":/"}) {
    EXPECT_FALSE(IsValid(url));
    EXPECT_EQ(path_, "untouched");
    EXPECT_EQ(url_, url);
    EXPECT_EQ(
        fakes::TakeLog(),
        (std::vector<fakes::LogLine>{{"mediainfo", 6, "kErrorProtocol: %s  %s %d failed!",
                                      "kErrorProtocol: service::mediainfo::IsValidPath  " + url + " 92 failed!"}}));
    EXPECT_STREQ(CoreErrorText(), "unknown protocol");
  }
}

TEST_F(UrlValidationTest, SkipsSixCharactersOfAFileUrl) {
  const std::string file = folder_.MakeFile("clip.mp4");
  EXPECT_TRUE(IsValid("file:/" + file));
  EXPECT_EQ(path_, file);
  EXPECT_TRUE(IsValid("file://" + file));
  EXPECT_EQ(path_, "/" + file);
}

TEST_F(UrlValidationTest, SkipsSixCharactersWhereverTheProtocolStands) {
  const std::string file = folder_.MakeFile("clip.mp4");
  EXPECT_TRUE(IsValid("xfile:/.." + file));
  EXPECT_EQ(path_, "/.." + file);
}

// A dot that is skipped begins no extension, and nothing of what is skipped is changed.
TEST_F(UrlValidationTest, LooksForTheExtensionBehindTheSkippedCharacters) {
  EXPECT_FALSE(IsValid("a.file:/none"));
  EXPECT_EQ(url_, "a.file:/none");
  ExpectStatusLine("a.file:/none", ":/none", 1);
}

TEST_F(UrlValidationTest, FindsNothingBehindAnEmptyFileUrl) {
  EXPECT_FALSE(IsValid("file:/"));
  EXPECT_EQ(path_, "untouched");
  ExpectStatusLine("file:/", "", 1);
}

TEST_F(UrlValidationTest, GivesARelativePathForAFileUrlWithOneSlash) {
  EXPECT_FALSE(IsValid("file:/no/such/a"));
  ExpectStatusLine("file:/no/such/a", "no/such/a", 1);
}

TEST_F(UrlValidationTest, PassesAnExistingFileWithItsWholePath) {
  const std::string file = folder_.MakeFile(
      "Gr\xC3\xBC\xC3\x9F"
      "e.mp4");
  EXPECT_TRUE(IsValid(file));
  EXPECT_EQ(path_, file);
  EXPECT_EQ(url_, file);
}

// Slashes in a row are one, but for two at the start, which name a host on some systems. The line about a path that is
// no file has the text as it came.
TEST_F(UrlValidationTest, GivesThePathAsItIsWritten) {
  const std::string file = folder_.MakeFile("clip.mp4");
  EXPECT_TRUE(IsValid(folder_.path().string() + "//clip.mp4"));
  EXPECT_EQ(path_, file);
  EXPECT_TRUE(IsValid("//" + file));
  EXPECT_EQ(path_, file);
  EXPECT_TRUE(IsValid("/" + file));
  EXPECT_EQ(path_, "/" + file);
  EXPECT_FALSE(IsValid(folder_.path().string() + "//none"));
  ExpectStatusLine(url_, folder_.path().string() + "//none", 1);
}

TEST_F(UrlValidationTest, PassesAFileThroughASymbolicLink) {
  const std::string link = (folder_.path() / "link.mp4").string();
  std::filesystem::create_symlink(folder_.MakeFile("clip.mp4"), link);
  EXPECT_TRUE(IsValid(link));
  EXPECT_EQ(path_, link);
}

TEST_F(UrlValidationTest, FindsTheExtensionInItsOtherLetterCase) {
  const std::string file = folder_.MakeFile("clip.mp4");
  const std::string asked = (folder_.path() / "clip.MP4").string();
  EXPECT_TRUE(IsValid(asked));
  EXPECT_EQ(path_, file);
  EXPECT_EQ(url_, file);
  EXPECT_TRUE(IsValid("file:/" + asked));
  EXPECT_EQ(path_, file);
  EXPECT_EQ(url_, "file:/" + file);
}

TEST_F(UrlValidationTest, SwapsTheCaseOfEachLetterAfterTheLastDot) {
  folder_.MakeFile("a.B.mP4");
  EXPECT_TRUE(IsValid((folder_.path() / "a.B.Mp4").string()));
  EXPECT_EQ(url_, (folder_.path() / "a.B.mP4").string());
  folder_.MakeFile("c.all");
  EXPECT_FALSE(IsValid((folder_.path() / "c.Al\xC3\xBC").string()));
  EXPECT_EQ(url_, (folder_.path() / "c.aL\xC3\xBC").string());
  fakes::TakeLog();
}

TEST_F(UrlValidationTest, SwapsBehindADotInAFolderNameToo) {
  const std::string asked = (folder_.path() / "x.d" / "clip").string();
  EXPECT_FALSE(IsValid(asked));
  EXPECT_EQ(url_, (folder_.path() / "x.D" / "CLIP").string());
  ExpectStatusLine(url_, url_, 1);
}

TEST_F(UrlValidationTest, RefusesAMissingFile) {
  const std::string asked = (folder_.path() / "none").string();
  EXPECT_FALSE(IsValid(asked));
  EXPECT_EQ(path_, "untouched");
  EXPECT_EQ(url_, asked);
  ExpectStatusLine(asked, asked, 1);
  EXPECT_STREQ(CoreErrorText(), "no such file");
}

TEST_F(UrlValidationTest, RefusesAnEmptyText) {
  EXPECT_FALSE(IsValid(""));
  ExpectStatusLine("", "", 1);
}

TEST_F(UrlValidationTest, RefusesAFolder) {
  std::filesystem::create_directory(folder_.path() / "folder");
  const std::string folder = (folder_.path() / "folder").string();
  EXPECT_FALSE(IsValid(folder));
  ExpectStatusLine(folder, folder, 3);
  EXPECT_STREQ(CoreErrorText(), "is a folder");
}

// As every path that is no file, one that names a folder is asked about in its other spelling, and the answer to that
// one is logged.
TEST_F(UrlValidationTest, TellsOfTheSecondQuery) {
  std::filesystem::create_directory(folder_.path() / "folder.d");
  const std::string folder = (folder_.path() / "folder.").string();
  EXPECT_FALSE(IsValid(folder + "d"));
  EXPECT_EQ(url_, folder + "D");
  ExpectStatusLine(folder + "D", folder + "D", 1);
}

TEST_F(UrlValidationTest, TakesASlashAtTheEndForPartOfThePath) {
  const std::string file = folder_.MakeFile("clip.mp4");
  EXPECT_FALSE(IsValid(file + "/"));
  ExpectStatusLine(folder_.path().string() + "/clip.MP4/", folder_.path().string() + "/clip.MP4/", 1);
}

// An event counter: a file whose kind the system does not tell.
TEST_F(UrlValidationTest, PassesAFileOfUnknownKind) {
  const int counter = eventfd(0, EFD_CLOEXEC);
  ASSERT_GE(counter, 0);
  const std::string path = "/proc/self/fd/" + std::to_string(counter);
  EXPECT_TRUE(IsValid(path));
  EXPECT_EQ(path_, path);
  close(counter);
}

TEST_F(UrlValidationTest, RefusesPipesDevicesAndDanglingLinks) {
  const std::string pipe = (folder_.path() / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(IsValid(pipe));
  ExpectStatusLine(pipe, pipe, 7);
  EXPECT_STREQ(CoreErrorText(), "not a regular file");

  EXPECT_FALSE(IsValid("/dev/null"));
  ExpectStatusLine("/dev/null", "/dev/null", 6);

  const std::string link = (folder_.path() / "link").string();
  std::filesystem::create_symlink(folder_.path() / "gone", link);
  EXPECT_FALSE(IsValid(link));
  ExpectStatusLine(link, link, 4);
  EXPECT_STREQ(CoreErrorText(), "no such file");
}

// Of the path that was asked for, wherever its other spelling is not there.
TEST_F(UrlValidationTest, TellsTheReasonOfThePathThatIsThere) {
  const std::string folder = (folder_.path() / "movie.d").string();
  std::filesystem::create_directory(folder);
  std::string pipe = (folder_.path() / "pipe.ts").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const std::string circle = (folder_.path() / "circle.mp4").string();
  std::filesystem::create_symlink(circle, circle);
  const std::pair<std::string, std::string> reasons[] = {
      {folder, "is a folder"},
      {pipe, "not a regular file"},
      {circle, std::generic_category().message(ELOOP)},
      {(folder_.path() / "movie.D").string(), "is a folder"},
      {(folder_.path() / "other.mp4").string(), "no such file"},
  };
  for (const auto& [path, reason] : reasons) {
    EXPECT_FALSE(IsValid(path));
    EXPECT_EQ(CoreErrorText(), reason) << path;
  }
  fakes::TakeLog();
}

TEST_F(UrlValidationTest, NoLineShowsAPassword) {
  EXPECT_FALSE(IsValid("rtmp://user:pass word@host/a b?c=d e&f=g"));
  EXPECT_EQ(fakes::TakeLog().at(0).text,
            "kErrorProtocol: service::mediainfo::IsValidPath  rtmp://***@host/a b?c=***&f=*** 92 failed!");
}

}  // namespace
}  // namespace service::mediainfo
