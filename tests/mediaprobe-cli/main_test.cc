/// The built tool as its users see it: what it writes and how it ends. The module behind it is fake_module.cc.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using testing::ScratchFolder;
using ::testing::StartsWith;

constexpr char kKey[] = "00112233445566778899aabbccddeeff";

struct Outcome {
  int status;
  std::string output;
  std::string errors;
};

std::string ContentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class MainTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("MEDIAPROBE_LIBRARY_DIR", FAKE_MODULE_DIR, /*overwrite=*/1);
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", /*overwrite=*/1);
    ASSERT_EQ(chdir(folder_.path().c_str()), 0);
  }
  void TearDown() override { std::filesystem::current_path(started_in_); }

  /// Runs the tool through a shell: `arguments` are shell words.
  Outcome Run(const std::string& arguments) {
    const std::string output = outputs_.path() + "/output";
    const std::string errors = outputs_.path() + "/errors";
    const std::string command = std::string(MEDIAPROBE) + " " + arguments + " > " + output + " 2> " + errors;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ContentOf(output), ContentOf(errors)};
  }

  /// The same, and all that it writes to a terminal as wide as that: less than a terminal holds unread.
  static std::string RunOnTerminal(const std::string& arguments, unsigned short columns) {
    const int reader = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(reader);
    unlockpt(reader);
    const std::string name = ptsname(reader);
    const int terminal = open(name.c_str(), O_RDWR | O_NOCTTY);
    winsize size{};
    size.ws_col = columns;
    ioctl(terminal, TIOCSWINSZ, &size);
    EXPECT_EQ(std::system((std::string(MEDIAPROBE) + " " + arguments + " > " + name).c_str()), 0);
    std::string text(4096, ' ');
    const ssize_t length = read(reader, text.data(), text.size());
    text.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    close(terminal);
    close(reader);
    return text;
  }

  const std::filesystem::path started_in_ = std::filesystem::current_path();
  ScratchFolder folder_;
  ScratchFolder outputs_;
};

TEST_F(MainTest, TextIsTheDefault) {
  folder_.AddFile("full.mp4");
  const Outcome outcome = Run("full.mp4");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.output,
            "full.mp4: mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes), 2.23 Mb/s\n"
            "  video 0     h264 High@L4.1  1440x1080 (shown 1920x1080) 29.97 fps  2.1 Mb/s  4:2:0 10 bit bt2020, "
            "interlaced (top first), HDR (PQ), rotated 90, eng, default\n"
            "  audio 1     aac LC          44.1 kHz stereo                        128 kb/s  16 bit, variable bit rate, "
            "deu, default\n"
            "  subtitle 2  mov_text        fra, forced\n"
            "  title     Am Meer\n"
            "  artist    Ada\n"
            "  created   2023-05-17 12:20:30 +02:00\n"
            "  modified  2024-01-02 04:04:05 +01:00\n"
            "  place     33.8568 S, 151.2153 E\n"
            "  camera    Acme Cam 9\n"
            "  AI label  Label 1, ContentProducer Studio\n");
  EXPECT_EQ(Run("--text full.mp4").output, outcome.output);
}

TEST_F(MainTest, TextFitsTheTerminalThatItGoesTo) {
  folder_.AddFile("full.mp4");
  setenv("NO_COLOR", "1", /*overwrite=*/1);
  EXPECT_THAT(RunOnTerminal("full.mp4", /*columns=*/60),
              StartsWith("full.mp4:\r\n"
                         "  mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes), 2.23 Mb/s\r\n"
                         "  video 0     h264 High@L4.1\r\n"));
  EXPECT_THAT(RunOnTerminal("full.mp4", /*columns=*/160),
              StartsWith("full.mp4: mp4, 0:00:10.005, 2.79 MB (2,788,750 bytes), 2.23 Mb/s\r\n"));
  unsetenv("NO_COLOR");
}

TEST_F(MainTest, NdjsonIsARecordALineInTheOrderOfTheInputs) {
  folder_.AddFile("full.mp4");
  folder_.AddFile("plain.wav");
  const Outcome outcome = Run("--ndjson plain.wav none.mp4 full.mp4");
  EXPECT_EQ(outcome.status, 1);
  std::vector<json> records;
  std::istringstream lines(outcome.output);
  for (std::string line; std::getline(lines, line);) records.push_back(json::parse(line));
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0]["input"], "plain.wav");
  EXPECT_EQ(records[0]["status"], "ok");
  EXPECT_EQ(records[1]["input"], "none.mp4");
  EXPECT_EQ(records[1]["status"], "error");
  EXPECT_EQ(records[1]["error"], "no such file");
  EXPECT_EQ(records[2]["input"], "full.mp4");
  EXPECT_EQ(records[2]["created"], "2023-05-17T12:20:30+02:00");
  EXPECT_EQ(records[2]["location"], json({{"latitude", -33.8568}, {"longitude", 151.2153}}));
  EXPECT_EQ(records[2]["aigc"], json({{"Label", "1"}, {"ContentProducer", "Studio"}}));
}

TEST_F(MainTest, JsonIsOneArray) {
  folder_.AddFile("full.mp4");
  const Outcome outcome = Run("--json full.mp4 full.mp4");
  EXPECT_EQ(outcome.status, 0);
  const json records = json::parse(outcome.output);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0], records[1]);
}

TEST_F(MainTest, FailuresAreARecordAndALineOfWords) {
  folder_.AddFile("full.mp4");
  folder_.AddFile("empty.mp4", "");
  folder_.AddFile("short.mp4");
  folder_.AddFile("notes.txt");
  const Outcome outcome = Run("none.mp4 . empty.mp4 short.mp4 notes.txt full.mp4");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "mediaprobe: none.mp4: no such file\n"
            "mediaprobe: .: is a folder\n"
            "mediaprobe: empty.mp4: empty file\n"
            "mediaprobe: short.mp4: file ends early\n"
            "mediaprobe: notes.txt: not a media file\n");
  EXPECT_THAT(outcome.output, HasSubstr("none.mp4: no such file\n\n.: is a folder\n"));
  EXPECT_THAT(outcome.output, HasSubstr("full.mp4: mp4, "));
}

TEST_F(MainTest, WrongUsage) {
  for (const char* arguments : {"", "--bogus a", "--json --text a", "a --key"}) {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.output, "") << arguments;
    EXPECT_THAT(outcome.errors, MatchesRegex("mediaprobe: [^\n]+ \\(try 'mediaprobe --help'\\)\n")) << arguments;
  }
}

TEST_F(MainTest, HelpAndVersion) {
  const Outcome help = Run("--help");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.output, HasSubstr("--ndjson"));
  EXPECT_EQ(help.errors, "");
  const Outcome version = Run("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.output, MatchesRegex("mediaprobe [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(MainTest, PathsAreFilesWhateverTheyLookLike) {
  for (const char* name : {"http_clips/full.mp4", "http:/full.mp4", "c:/full.mp4", "[full]", "full %41.mp4"}) {
    folder_.AddFile(name);
  }
  EXPECT_EQ(Run("http_clips/full.mp4 http:/full.mp4 c:/full.mp4 'full %41.mp4'").status, 0);
  EXPECT_THAT(Run("'[full]'").errors, HasSubstr("[full]: not a media file"));
}

TEST_F(MainTest, FileUrls) {
  const std::string path = folder_.AddFile("full movie.mp4");
  EXPECT_EQ(Run("'file://" + path + "' 'file:" + path + "' 'files://" + path + "'").status, 0);
  EXPECT_EQ(Run("file://" + folder_.path() + "/full%20movie.mp4").status, 0);
}

TEST_F(MainTest, NetworkUrlsPass) { EXPECT_EQ(Run("http://host.invalid/full.mp4").status, 0); }

TEST_F(MainTest, OutputIsValidUtf8AndHarmlessWhateverTheFileHolds) {
  folder_.AddFile("odd.wav");
  folder_.AddFile("odd\xff.wav");
  const Outcome outcome = Run("--ndjson odd*");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("\"input\":\"odd\uFFFD.wav\""));
  EXPECT_THAT(outcome.output, HasSubstr("red \\u001b[31m \uFFFD end"));
  EXPECT_THAT(outcome.output, HasSubstr("\"aigc\":\"by a machine\""));
  EXPECT_THAT(Run("odd*").output, Not(HasSubstr("\x1b")));
  EXPECT_THAT(Run("$(printf 'none\\033[31m')").errors, HasSubstr("none\\x1b[31m: no such file"));
}

TEST_F(MainTest, KeyOpensAProtectedFile) {
  folder_.AddFile("locked.mp4");
  folder_.AddFile("key", std::string(kKey) + "\n");
  EXPECT_EQ(Run("locked.mp4").status, 1);
  EXPECT_EQ(Run(std::string("-k ") + kKey + " locked.mp4").status, 0);
  EXPECT_EQ(Run("--key-file key locked.mp4").status, 0);
}

TEST_F(MainTest, KeyIsShownNowhere) {
  folder_.AddFile("locked.mp4");
  const Outcome outcome = Run("--log-level trace --key 0123456789abcdef0123456789abcdef locked.mp4");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors, HasSubstr("no file opens with ***"));
  EXPECT_THAT(outcome.errors, HasSubstr("mediaprobe: locked.mp4: wrong key"));
  EXPECT_THAT(outcome.errors + outcome.output, Not(HasSubstr("0123456789abcdef")));
}

TEST_F(MainTest, ImagesSvgsAndSequencesAreAnsweredByTheirServices) {
  folder_.AddFile("photo.mp4");
  folder_.AddFile("movie.gif");
  folder_.AddFile("drawing.txt");
  folder_.AddFile("frame01.png");
  const Outcome outcome = Run("photo.mp4 movie.gif drawing.txt 'frame[01-10].png'");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "");
  EXPECT_EQ(outcome.output,
            "photo.mp4: JPEG, 4000x3000\n"
            "  orientation  flipped horizontal, rotated 90\n"
            "  created      2023-05-17 12:20:30 +02:00\n"
            "  modified     2024-01-02 04:04:05 +01:00\n"
            "  place        33.8568 S, 151.2153 E\n"
            "  camera       Acme Cam 9, 1/125 s\n"
            "  AI label     Label 1, ContentProducer Studio\n"
            "\n"
            "movie.gif: GIF, 0:00:01.200, 10 fps\n"
            "\n"
            "drawing.txt: SVG, 200x100 (view box 24x12)\n"
            "\n"
            "frame[01-10].png: PNG, 640x480, 10 frames, 0:00:00.400\n");
}

TEST_F(MainTest, RecordsSayWhichServiceAnswered) {
  folder_.AddFile("photo.jpg");
  folder_.AddFile("drawing.svg");
  const json records = json::parse(Run("--json photo.jpg drawing.svg 'frame[01-10].png'").output);
  EXPECT_EQ(records[0]["service"], "image");
  EXPECT_EQ(records[0]["rotation"], 90);
  EXPECT_EQ(records[0]["flip"], "horizontal");
  EXPECT_EQ(records[1], json({{"input", "drawing.svg"},
                              {"service", "svg"},
                              {"status", "ok"},
                              {"width", 200},
                              {"height", 100},
                              {"view_width", 24},
                              {"view_height", 12}}));
  EXPECT_EQ(records[2]["service"], "image");
  EXPECT_EQ(records[2]["error"], "no such file: " + folder_.path() + "/frame01.png");
}

TEST_F(MainTest, ForcedServicesRefuseInWords) {
  folder_.AddFile("photo.jpg");
  folder_.AddFile("full.mp4");
  EXPECT_EQ(Run("--service media photo.jpg").errors, "mediaprobe: photo.jpg: a still image, not a media file\n");
  EXPECT_EQ(Run("--service image full.mp4").errors, "mediaprobe: full.mp4: not an image\n");
  EXPECT_EQ(Run("--service svg full.mp4").errors, "mediaprobe: full.mp4: not an SVG document\n");
  EXPECT_EQ(Run("--service image photo.jpg").status, 0);
}

TEST_F(MainTest, UuidIsToldWhenAskedFor) {
  for (const char* name : {"plain.wav", "photo.jpg", "drawing.svg", "frame01.png"}) folder_.AddFile(name);
  const json records = json::parse(Run("-u --json plain.wav photo.jpg drawing.svg 'frame[01-10].png'").output);
  for (const json& record : records) EXPECT_EQ(record["uuid"], "0123456789abcdef0123456789abcdef");
  EXPECT_EQ(Run("--uuid drawing.svg").output,
            "drawing.svg: SVG, 200x100 (view box 24x12)\n"
            "  UUID  0123456789abcdef0123456789abcdef\n");
  EXPECT_THAT(Run("drawing.svg").output, Not(HasSubstr("UUID")));
}

TEST_F(MainTest, UuidThatCannotBeHadIsAFailureBesideTheAnswer) {
  folder_.AddFile("gone.wav");
  const Outcome outcome = Run("--uuid --ndjson gone.wav");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "mediaprobe: gone.wav: no UUID: cannot be read to its end\n");
  const json record = json::parse(outcome.output);
  EXPECT_EQ(record["status"], "ok");
  EXPECT_FALSE(record.contains("uuid"));
}

TEST_F(MainTest, InterruptEndsAtOnceWithValidOutput) {
  folder_.AddFile("plain.wav");
  folder_.AddFile("slow.wav");
  const std::string output = outputs_.path() + "/output";
  const std::string log = outputs_.path() + "/log";
  const pid_t tool = fork();
  if (tool == 0) {
    if (std::freopen(output.c_str(), "w", stdout)) {
      execl(MEDIAPROBE, MEDIAPROBE, "--json", "--uuid", "--log-level", "info", "--log-file", log.c_str(), "plain.wav",
            "slow.wav", "plain.wav", nullptr);
    }
    _exit(99);
  }
  // The digest of the fake module, which takes a minute, logs when it begins.
  const auto is_on_its_way = [&] {
    return ContentOf(log).find("the digest begins") != std::string::npos && !ContentOf(output).empty();
  };
  for (int i = 0; i < 3'000 && !is_on_its_way(); ++i) usleep(10'000);
  kill(tool, SIGINT);
  int status = 0;
  ASSERT_EQ(waitpid(tool, &status, 0), tool);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 130);
  const json records = json::parse(ContentOf(output));
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0]["input"], "plain.wav");
}

TEST_F(MainTest, LogIsSilentUnlessAskedFor) {
  folder_.AddFile("locked.mp4");
  EXPECT_EQ(Run("locked.mp4").errors, "mediaprobe: locked.mp4: wrong key\n");
}

TEST_F(MainTest, ColorsAreForTerminals) {
  folder_.AddFile("plain.wav");
  EXPECT_THAT(Run("plain.wav").output, Not(HasSubstr("\x1b")));
}

TEST_F(MainTest, MissingModuleIsNamed) {
  setenv("MEDIAPROBE_LIBRARY_DIR", folder_.path().c_str(), /*overwrite=*/1);
  const Outcome outcome = Run("a.mp4");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "mediaprobe: cannot load the media information module " + folder_.path() + "/service-mediainfo.so\n");
}

TEST_F(MainTest, OutputThatCannotBeWrittenIsAFailure) {
  folder_.AddFile("plain.wav");
  const std::string command = std::string(MEDIAPROBE) + " plain.wav > /dev/full 2> " + outputs_.path() + "/errors";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  EXPECT_EQ(ContentOf(outputs_.path() + "/errors"), "mediaprobe: cannot write the output: No space left on device\n");
}

}  // namespace
}  // namespace mediaprobe
