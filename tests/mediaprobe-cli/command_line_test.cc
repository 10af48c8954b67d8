#include "command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "core/log.h"
#include "scratch_folder.h"

namespace mediaprobe {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// A writable argument vector, as main gets one.
class CommandLineTest : public ::testing::Test {
 protected:
  std::variant<Options, EarlyExit> Parse(std::vector<std::string> words) {
    arguments_ = std::move(words);
    arguments_.insert(arguments_.begin(), "mediaprobe");
    std::vector<char*> pointers;
    for (std::string& argument : arguments_) pointers.push_back(argument.data());
    return ParseCommandLine(static_cast<int>(pointers.size()), pointers.data());
  }
  Options ParseGood(std::vector<std::string> words) {
    const auto parsed = Parse(std::move(words));
    if (const auto* leave = std::get_if<EarlyExit>(&parsed)) ADD_FAILURE() << leave->text;
    return std::holds_alternative<Options>(parsed) ? std::get<Options>(parsed) : Options{};
  }
  EarlyExit ParseToExit(std::vector<std::string> words) {
    const auto parsed = Parse(std::move(words));
    if (std::holds_alternative<Options>(parsed)) ADD_FAILURE() << "taken for good";
    return std::holds_alternative<EarlyExit>(parsed) ? std::get<EarlyExit>(parsed) : EarlyExit{-1, {}};
  }
  std::string FileOf(const std::string& content) { return folder_.AddFile("key", content); }

  testing::ScratchFolder folder_;
  std::vector<std::string> arguments_;
};

TEST_F(CommandLineTest, Defaults) {
  const Options options = ParseGood({"a.mp4"});
  EXPECT_THAT(options.inputs, ElementsAre("a.mp4"));
  EXPECT_EQ(options.form, OutputForm::kText);
  EXPECT_EQ(options.service, ServiceChoice::kAuto);
  EXPECT_EQ(options.key, "");
  EXPECT_FALSE(options.uuid);
  EXPECT_EQ(options.log_level, kCoreLogOff);
}

TEST_F(CommandLineTest, InputsAreTakenAsTheyAre) {
  const Options options = ParseGood({"a b", "[1,2]", "[x].mp4", "{}", "", "c,d", "--", "--json", "-k"});
  EXPECT_THAT(options.inputs, ElementsAre("a b", "[1,2]", "[x].mp4", "{}", "", "c,d", "--json", "-k"));
  EXPECT_EQ(options.form, OutputForm::kText);
}

TEST_F(CommandLineTest, OptionsMayStandBetweenInputs) {
  const Options options = ParseGood({"a", "--json", "b"});
  EXPECT_THAT(options.inputs, ElementsAre("a", "b"));
  EXPECT_EQ(options.form, OutputForm::kJson);
}

TEST_F(CommandLineTest, OutputForms) {
  EXPECT_EQ(ParseGood({"--text", "a"}).form, OutputForm::kText);
  EXPECT_EQ(ParseGood({"--json", "a"}).form, OutputForm::kJson);
  EXPECT_EQ(ParseGood({"--ndjson", "a"}).form, OutputForm::kNdjson);
  EXPECT_EQ(ParseGood({"--csv", "a"}).form, OutputForm::kCsv);
}

TEST_F(CommandLineTest, Output) {
  EXPECT_EQ(ParseGood({"a"}).output, "");
  EXPECT_EQ(ParseGood({"-o", "[list]", "a"}).output, "[list]");
  EXPECT_EQ(ParseGood({"--output=list", "a"}).output, "list");
  EXPECT_FALSE(ParseGood({"a"}).full);
  EXPECT_TRUE(ParseGood({"--full", "a"}).full);
}

TEST_F(CommandLineTest, StandardInput) {
  const Options lines = ParseGood({"--stdin"});
  EXPECT_TRUE(lines.from_standard_input);
  EXPECT_EQ(lines.separator, '\n');
  EXPECT_EQ(ParseGood({"--stdin", "-0"}).separator, '\0');
}

TEST_F(CommandLineTest, Folders) {
  EXPECT_FALSE(ParseGood({"a"}).walk);
  const Options options = ParseGood({"-r", "--include", "*.mp4", "--include", "[a-c]*", "--exclude", "x", "a"});
  ASSERT_TRUE(options.walk);
  EXPECT_THAT(options.walk->include, ElementsAre("*.mp4", "[a-c]*"));
  EXPECT_THAT(options.walk->exclude, ElementsAre("x"));
  EXPECT_THAT(options.inputs, ElementsAre("a"));
}

TEST_F(CommandLineTest, Limits) {
  const Options usual = ParseGood({"a"});
  EXPECT_GE(usual.jobs, 1u);
  EXPECT_FALSE(usual.timeout);
  EXPECT_EQ(usual.memory_bytes, 512u << 20);
  EXPECT_EQ(usual.isolation, std::nullopt);
  const Options options = ParseGood({"-j", "3", "--timeout", "2.5", "--memory", "64", "--isolation", "none", "a"});
  EXPECT_EQ(options.jobs, 3u);
  EXPECT_EQ(options.timeout, std::chrono::milliseconds(2500));
  EXPECT_EQ(options.memory_bytes, 64u << 20);
  EXPECT_EQ(options.isolation, Isolation::kNone);
  for (const char* wrong : {"--jobs=0", "--jobs=x", "--timeout=0", "--timeout=-1", "--memory=1", "--isolation=some"}) {
    EXPECT_EQ(ParseToExit({wrong, "a"}).status, 2) << wrong;
  }
}

TEST_F(CommandLineTest, Progress) {
  EXPECT_EQ(ParseGood({"a"}).progress, std::nullopt);
  EXPECT_EQ(ParseGood({"--progress", "a"}).progress, true);
  EXPECT_EQ(ParseGood({"--no-progress", "a"}).progress, false);
}

TEST_F(CommandLineTest, ListingsNeedNoInput) {
  EXPECT_EQ(ParseGood({"--formats"}).listing, Listing::kFormats);
  EXPECT_EQ(ParseGood({"--services"}).listing, Listing::kServices);
}

TEST_F(CommandLineTest, OptionsThatDoNotGoTogether) {
  for (const auto& [arguments, words] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--stdin", "a"}, "choose one of --stdin and inputs by name"},
           {{"-0", "a"}, "-0 goes with --stdin"},
           {{"--include", "*", "a"}, "--include and --exclude go with --recursive"},
           {{"--exclude", "*", "a"}, "--include and --exclude go with --recursive"},
           {{"--progress", "--no-progress", "a"}, "choose one of --progress and --no-progress"},
           {{"--formats", "--services"}, "choose one of --formats and --services"},
           {{"--json"}, "no input"}}) {
    const EarlyExit leave = ParseToExit(arguments);
    EXPECT_EQ(leave.status, 2);
    EXPECT_THAT(leave.text, StartsWith("mediaprobe: " + words));
  }
}

TEST_F(CommandLineTest, OutputFormsExcludeEachOther) {
  for (const auto& [one, other] : {std::pair("--text", "--json"), {"--json", "--ndjson"}, {"--csv", "--text"}}) {
    const EarlyExit leave = ParseToExit({one, other, "a"});
    EXPECT_EQ(leave.status, 2);
    EXPECT_THAT(leave.text, StartsWith("mediaprobe: choose one of --text, --json, --ndjson and --csv"));
  }
}

TEST_F(CommandLineTest, Services) {
  EXPECT_EQ(ParseGood({"--service", "auto", "a"}).service, ServiceChoice::kAuto);
  EXPECT_EQ(ParseGood({"--service", "media", "a"}).service, ServiceChoice::kMedia);
  EXPECT_EQ(ParseGood({"--service=image", "a"}).service, ServiceChoice::kImage);
  EXPECT_EQ(ParseGood({"--service", "svg", "a"}).service, ServiceChoice::kSvg);
  EXPECT_EQ(ParseToExit({"--service", "sound", "a"}).status, 2);
}

TEST_F(CommandLineTest, Uuid) {
  EXPECT_TRUE(ParseGood({"-u", "a"}).uuid);
  EXPECT_TRUE(ParseGood({"--uuid", "a"}).uuid);
}

TEST_F(CommandLineTest, LogLevels) {
  EXPECT_EQ(ParseGood({"--log-level", "trace", "a"}).log_level, 2);
  EXPECT_EQ(ParseGood({"--log-level=fatal", "a"}).log_level, 7);
  EXPECT_EQ(ParseGood({"--log-level", "off", "a"}).log_level, 8);
  EXPECT_EQ(ParseToExit({"--log-level", "loud", "a"}).status, 2);
}

TEST_F(CommandLineTest, WrongUsageIsToldInWordsOfOurs) {
  const std::string end = " (try 'mediaprobe --help')\n";
  for (const auto& [arguments, words] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"-j", "1", "--jobs", "2", "a"}, "--jobs is given twice"},
           {{"-j", "abc", "a"}, "--jobs: 'abc' is not a whole number from 1 to 1024"},
           {{"-j", "1025", "a"}, "--jobs: '1025' is not a whole number from 1 to 1024"},
           {{"--timeout", "0", "a"}, "--timeout: '0' is not a number from 0.001 to 1000000"},
           {{"--memory", "15", "a"}, "--memory: '15' is not a whole number from 16 to 1048576"},
           {{"--service", "x", "a"}, "--service: 'x' is none of auto, media, image, svg"},
           {{"--csv=1", "a"}, "--csv takes no value"},
           {{"a", "-o"}, "--output needs a value"},
           {{"a", "--service"}, "--service needs a value"},
           {{"--bogus", "--", "a"}, "there is no option --bogus"}}) {
    const EarlyExit leave = ParseToExit(arguments);
    EXPECT_EQ(leave.status, 2);
    EXPECT_EQ(leave.text, "mediaprobe: " + words + end);
  }
}

TEST_F(CommandLineTest, NumbersAreDecimal) {
  EXPECT_EQ(ParseGood({"-j", "010", "a"}).jobs, 10u);
  EXPECT_EQ(ParseGood({"--timeout", "1e-3", "a"}).timeout, std::chrono::milliseconds(1));
  EXPECT_EQ(ParseToExit({"-j", "0x10", "a"}).status, 2);
}

TEST_F(CommandLineTest, WordsWithAnEqualsSignAreInputsBehindTwoHyphens) {
  EXPECT_THAT(ParseGood({"-u", "--", "--json=x"}).inputs, ElementsAre("--json=x"));
}

TEST_F(CommandLineTest, WrongUsageNamesTheFault) {
  const EarlyExit nothing = ParseToExit({});
  EXPECT_EQ(nothing.status, 2);
  EXPECT_THAT(nothing.text, AllOf(HasSubstr("no input"), HasSubstr("--help")));
  const EarlyExit unknown = ParseToExit({"--bogus", "a"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.text, HasSubstr("--bogus"));
  EXPECT_EQ(ParseToExit({"a", "--key"}).status, 2);
}

TEST_F(CommandLineTest, HelpAndVersionNeedNoInput) {
  const EarlyExit help = ParseToExit({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option :
       {"--text", "--json", "--ndjson", "--key", "--uuid", "--service", "--key-file", "--log-level", "--version"}) {
    EXPECT_THAT(help.text, HasSubstr(option));
  }
  const EarlyExit version = ParseToExit({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.text, ::testing::MatchesRegex("mediaprobe [0-9.]+\n"));
}

TEST_F(CommandLineTest, KeyIsOverwrittenInEveryForm) {
  const std::string key = "00112233445566778899aabbccddeeff";
  const std::string stars(32, '*');
  EXPECT_EQ(ParseGood({"--key", key, "a"}).key, key);
  EXPECT_THAT(arguments_, ElementsAre("mediaprobe", "--key", stars, "a"));
  EXPECT_EQ(ParseGood({"--key=" + key, "a"}).key, key);
  EXPECT_THAT(arguments_, ElementsAre("mediaprobe", "--key=" + stars, "a"));
  EXPECT_EQ(ParseGood({"-k" + key, "a"}).key, key);
  EXPECT_THAT(arguments_, ElementsAre("mediaprobe", "-k" + stars, "a"));
}

TEST_F(CommandLineTest, EveryKeyIsOverwrittenAndTheLastOneHolds) {
  const std::string one(32, 'a');
  const std::string other(32, 'B');
  EXPECT_EQ(ParseGood({"-k", one, "-k", other, "x"}).key, other);
  const std::string stars(32, '*');
  EXPECT_THAT(arguments_, ElementsAre("mediaprobe", "-k", stars, "-k", stars, "x"));
}

TEST_F(CommandLineTest, KeyIsOverwrittenAndNotRepeatedWhenTheUsageIsWrong) {
  const EarlyExit leave = ParseToExit({"-k", "aaaa", "--bogus", "x"});
  EXPECT_THAT(arguments_, ElementsAre("mediaprobe", "-k", "****", "--bogus", "x"));
  EXPECT_THAT(leave.text, Not(HasSubstr("aaaa")));
}

TEST_F(CommandLineTest, KeysAreAnyTextButNone) {
  for (const std::string& key : {std::string("a"), std::string(33, '0'), std::string("[0]")}) {
    EXPECT_EQ(ParseGood({"-k", key, "a"}).key, key);
    EXPECT_EQ(ParseGood({"--key-file", FileOf(key), "a"}).key, key);
  }
  const EarlyExit leave = ParseToExit({"-k", "", "a"});
  EXPECT_EQ(leave.status, 2);
  EXPECT_EQ(leave.text, "mediaprobe: --key: the key is empty (try 'mediaprobe --help')\n");
}

TEST_F(CommandLineTest, KeyFileIsReadWithoutTheWhiteSpaceAround) {
  const std::string key = "00112233445566778899aabbccddeeff";
  EXPECT_EQ(ParseGood({"--key-file", FileOf(" \n" + key + "\r\n"), "a"}).key, key);
}

TEST_F(CommandLineTest, KeyFilesWithoutAKeyAreWrongUsage) {
  for (const std::string& content : {std::string(), std::string("\n \n"), std::string(4097, 'a')}) {
    EXPECT_EQ(ParseToExit({"--key-file", FileOf(content), "a"}).status, 2) << content.size();
  }
  const EarlyExit missing = ParseToExit({"--key-file", "/no/such/file", "a"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.text, HasSubstr("/no/such/file: No such file or directory"));
}

TEST_F(CommandLineTest, KeyAndKeyFileExcludeEachOther) {
  const EarlyExit leave = ParseToExit({"-k", std::string(32, 'a'), "--key-file", FileOf("bbbb"), "a"});
  EXPECT_EQ(leave.status, 2);
  EXPECT_THAT(leave.text, StartsWith("mediaprobe: choose one of --key and --key-file "));
}

TEST_F(CommandLineTest, FilesHaveNames) {
  for (const char* option : {"--output", "--log-file", "--key-file"}) {
    const EarlyExit leave = ParseToExit({option, "", "a"});
    EXPECT_EQ(leave.status, kExitUsage) << option;
    EXPECT_EQ(leave.text, std::string("mediaprobe: ") + option + ": the name is empty (try 'mediaprobe --help')\n");
  }
}

TEST_F(CommandLineTest, UsageErrorsAreFitForATerminal) {
  EXPECT_THAT(ParseToExit({"--\x1b[31m", "a"}).text, AllOf(HasSubstr("\\x1b"), Not(HasSubstr("\x1b"))));
}

}  // namespace
}  // namespace mediaprobe
