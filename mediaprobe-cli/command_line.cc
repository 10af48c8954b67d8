#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <thread>
#include <utility>

#include "core/log.h"
#include "output/terminal_text.h"
#include "usage/usage.h"

namespace mediaprobe {
namespace {

constexpr char kSummary[] = "Tells what is in media files, images and SVGs.";
constexpr char kDetails[] =
    "Examples:\n"
    "  mediaprobe holiday.mp4                       what a person wants to know\n"
    "  mediaprobe -r --csv -o list.csv Pictures     a table of all under a folder\n"
    "  mediaprobe --ndjson -u 'img_[0001-0100].png' a picture sequence, with its UUID\n"
    "  find . -print0 | mediaprobe --stdin -0 --ndjson\n"
    "\n"
    "Exit status: 0 when every input was answered, 1 when at least one failed,\n"
    "2 for wrong usage, 130 when interrupted.";

struct LevelName {
  std::string_view name;
  int level;
};
constexpr LevelName kLevels[] = {
    {"trace", kCoreLogTrace}, {"debug", kCoreLogDebug}, {"info", kCoreLogInfo}, {"warning", kCoreLogWarning},
    {"error", kCoreLogError}, {"fatal", kCoreLogFatal}, {"off", kCoreLogOff},
};

struct ServiceName {
  std::string_view name;
  ServiceChoice service;
};
constexpr ServiceName kServices[] = {
    {"auto", ServiceChoice::kAuto},
    {"media", ServiceChoice::kMedia},
    {"image", ServiceChoice::kImage},
    {"svg", ServiceChoice::kSvg},
};

struct IsolationName {
  std::string_view name;
  Isolation isolation;
};
constexpr IsolationName kIsolations[] = {
    {"none", Isolation::kNone}, {"worker", Isolation::kWorker}, {"strict", Isolation::kStrict}};

/// The row with that name, which must be there.
template <typename Table>
const auto& RowOf(const Table& table, std::string_view name) {
  return *std::find_if(std::begin(table), std::end(table), [name](const auto& row) { return row.name == name; });
}

/// Overwrites `secret` wherever it stands in an argument: it may be a word of its own or a part of one ("--key=...").
void Overwrite(std::string_view secret, int argc, char** argv) {
  if (secret.empty()) return;
  for (int i = 1; i < argc; ++i) {
    for (char* at = argv[i]; (at = std::strstr(at, std::string(secret).c_str())) != nullptr; at += secret.size()) {
      std::memset(at, '*', secret.size());
    }
  }
}

struct KeyFile {
  std::string key;
  std::string error;  ///< empty when the key was read
};

/// The key is the file's text without the white space around it.
KeyFile ReadKeyFile(const std::string& path) {
  constexpr std::size_t kMostBytes = 4096;
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) return {{}, std::strerror(errno)};
  std::array<char, kMostBytes + 1> buffer;
  const std::size_t length = std::fread(buffer.data(), 1, buffer.size(), file.get());
  if (std::ferror(file.get())) return {{}, std::strerror(errno)};
  if (length > kMostBytes) return {{}, "too long for a key"};

  const std::string_view text(buffer.data(), length);
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {{}, "holds no key"};
  return {std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1)), {}};
}

EarlyExit UsageError(const std::string& words) {
  return {kExitUsage, "mediaprobe: " + TerminalText(words) + " (try 'mediaprobe --help')\n"};
}

/// Names of files cannot be empty, as they come out of variables that are not set.
const CLI::Validator kSomeName(
    [](const std::string& name) { return name.empty() ? std::string("the name is empty") : std::string(); }, "");

/// What form a key has to have is for the service to say that opens protected files.
const CLI::Validator kSomeKey(
    [](const std::string& key) { return key.empty() ? std::string("the key is empty") : std::string(); }, "");

/// The names of a table. They stand in the help.
template <typename Table>
CLI::Validator NameFrom(const Table& table) {
  std::string names;
  std::string words;
  for (const auto& row : table) {
    names.append(names.empty() ? "" : ",").append(row.name);
    words.append(words.empty() ? "" : ", ").append(row.name);
  }
  const auto check = [&table, words](const std::string& text) {
    const bool is_one = std::ranges::any_of(table, [&](const auto& row) { return row.name == text; });
    return is_one ? std::string() : "'" + text + "' is none of " + words;
  };
  return {check, "{" + names + "}"};
}

constexpr std::uint64_t kMegabyte = 1024 * 1024;

/// The command line's texts as CLI11 and its callers see them.
struct Arguments {
  std::vector<std::string> inputs;
  bool from_standard_input = false;
  bool zero_separated = false;
  bool recursive = false;
  WalkFilter walk;
  bool formats = false;
  bool services = false;
  bool text = false;
  bool json = false;
  bool ndjson = false;
  bool csv = false;
  bool full = false;
  std::string output;
  bool uuid = false;
  std::string service = "auto";
  std::string key;
  std::string key_file;
  std::string jobs;
  std::string timeout;
  std::string memory = "512";
  std::string isolation;
  bool allow_unsandboxed = false;
  bool progress = false;
  bool no_progress = false;
  std::string log_level = "off";
  std::string log_file;
};

// CLI11 takes an argument in brackets, which is a good file name, for a list of names. A NUL in front of it, which no
// argument has of its own, keeps it one text.
constexpr char kMark = '\0';

/// The arguments as CLI11 wants them: the last one first.
std::vector<std::string> MarkedArguments(int argc, char** argv) {
  std::vector<std::string> marked;
  for (int i = argc - 1; i > 0; --i) {
    marked.emplace_back(argv[i]);
    if (marked.back().starts_with('[')) marked.back().insert(0, 1, kMark);
  }
  return marked;
}

std::string Unmarked(std::string argument) {
  if (argument.starts_with(kMark)) argument.erase(0, 1);
  return argument;
}

std::vector<std::string> AllUnmarked(const std::vector<std::string>& arguments) {
  std::vector<std::string> unmarked;
  unmarked.reserve(arguments.size());
  for (const std::string& argument : arguments) unmarked.push_back(Unmarked(argument));
  return unmarked;
}

void DeclareInputs(CLI::App& app, Arguments& arguments) {
  app.add_option("INPUT", arguments.inputs, "File, picture sequence, URL, or folder (with -r)")->type_name("");
  app.add_flag("-r,--recursive", arguments.recursive, "Walk folders for what can be read")->group("Inputs");
  app.add_option("--include", arguments.walk.include, "Of files in folders, take those that match")
      ->type_name("GLOB")
      ->allow_extra_args(false)
      ->group("Inputs");
  app.add_option("--exclude", arguments.walk.exclude, "Leave out files and folders that match")
      ->type_name("GLOB")
      ->allow_extra_args(false)
      ->group("Inputs");
  app.add_flag("--stdin", arguments.from_standard_input, "Read inputs from standard input, one a line")
      ->group("Inputs");
  app.add_flag("-0", arguments.zero_separated, "With --stdin: inputs end with a NUL")->group("Inputs");
  app.add_option("--service", arguments.service, "Service to ask (default: auto, by content)")
      ->type_name("NAME")
      ->check(NameFrom(kServices))
      ->group("Inputs");
  app.add_option("-k,--key", arguments.key, "Key of protected files, 32 hex digits")
      ->type_name("KEY")
      ->check(kSomeKey)
      ->group("Inputs");
  app.add_option("--key-file", arguments.key_file, "File that holds the key")
      ->type_name("FILE")
      ->check(kSomeName)
      ->group("Inputs");
}

void DeclareOutput(CLI::App& app, Arguments& arguments) {
  app.add_flag("--text", arguments.text, "Blocks made to be read (default)")->group("Output");
  app.add_flag("--json", arguments.json, "One JSON array")->group("Output");
  app.add_flag("--ndjson", arguments.ndjson, "One JSON record a line")->group("Output");
  app.add_flag("--csv", arguments.csv, "A header, then one row a stream or image")->group("Output");
  app.add_option("-o,--output", arguments.output, "Write there, the whole output or nothing")
      ->type_name("FILE")
      ->check(kSomeName)
      ->group("Output");
  app.add_flag("--full", arguments.full, "Text form: every metadata key")->group("Output");
  app.add_flag("-u,--uuid", arguments.uuid, "Add the UUID (MD5) of the whole content")->group("Output");
  app.add_flag("--progress", arguments.progress, "Show a progress line on standard error")->group("Output");
  app.add_flag("--no-progress", arguments.no_progress, "Show none (default: only on a terminal)")->group("Output");
}

void DeclareLimits(CLI::App& app, Arguments& arguments) {
  app.add_option("-j,--jobs", arguments.jobs, "Inputs probed at once (default: processors)")
      ->type_name("N")
      ->check(usage::InRange(1U, 1024U, "whole number from 1 to 1024"))
      ->group("Limits");
  app.add_option("--timeout", arguments.timeout, "Longest time for one input (default: 10, URLs 30)")
      ->type_name("SECONDS")
      ->check(usage::InRange(0.001, 1e6, "number from 0.001 to 1000000"))
      ->group("Limits");
  app.add_option("--memory", arguments.memory, "Most memory for one input (default: 512)")
      ->type_name("MB")
      ->check(usage::InRange<std::uint64_t>(16, 1024 * 1024, "whole number from 16 to 1048576"))
      ->group("Limits");
  app.add_option("--isolation", arguments.isolation, "Where inputs are probed (default: worker)")
      ->type_name("MODE")
      ->check(NameFrom(kIsolations))
      ->group("Limits");
  app.add_flag("--allow-unsandboxed", arguments.allow_unsandboxed, "Go on where the kernel cannot confine (strict)")
      ->group("Limits");
}

void Declare(CLI::App& app, Arguments& arguments) {
  app.footer(kDetails);
  DeclareInputs(app, arguments);
  DeclareOutput(app, arguments);
  DeclareLimits(app, arguments);
  app.add_option("--log-level", arguments.log_level, "Least severe log lines to show (default: off)")
      ->type_name("LEVEL")
      ->check(NameFrom(kLevels))
      ->group("About");
  app.add_option("--log-file", arguments.log_file, "Append log lines to it (default: standard error)")
      ->type_name("FILE")
      ->check(kSomeName)
      ->group("About");
  app.add_flag("--formats", arguments.formats, "List what is read, and leave")->group("About");
  app.add_flag("--services", arguments.services, "List the services, and leave")->group("About");
  app.set_version_flag("--version", "mediaprobe " MEDIAPROBE_VERSION, "Show the version and leave")->group("About");
  app.set_help_flag("-h,--help", "Show this text and leave")->group("About");
  usage::LetLastHold(app);
}

/// Pairs, or more, of which at most one may be given.
std::string Conflict(const Arguments& arguments) {
  if (arguments.text + arguments.json + arguments.ndjson + arguments.csv > 1) {
    return "choose one of --text, --json, --ndjson and --csv";
  }
  if (!arguments.key.empty() && !arguments.key_file.empty()) return "choose one of --key and --key-file";
  if (arguments.progress && arguments.no_progress) return "choose one of --progress and --no-progress";
  if (arguments.formats && arguments.services) return "choose one of --formats and --services";
  if (arguments.formats || arguments.services) return {};
  if (arguments.from_standard_input && !arguments.inputs.empty()) return "choose one of --stdin and inputs by name";
  if (!arguments.from_standard_input && arguments.inputs.empty()) return "no input";
  if (arguments.zero_separated && !arguments.from_standard_input) return "-0 goes with --stdin";
  const bool has_pattern = !arguments.walk.include.empty() || !arguments.walk.exclude.empty();
  if (has_pattern && !arguments.recursive) return "--include and --exclude go with --recursive";
  return {};
}

OutputForm FormOf(const Arguments& arguments) {
  if (arguments.json) return OutputForm::kJson;
  if (arguments.csv) return OutputForm::kCsv;
  return arguments.ndjson ? OutputForm::kNdjson : OutputForm::kText;
}

Listing ListingOf(const Arguments& arguments) {
  if (arguments.formats) return Listing::kFormats;
  return arguments.services ? Listing::kServices : Listing::kNone;
}

void TakeLimits(const Arguments& arguments, Options& options) {
  options.jobs =
      usage::ReadNumber<unsigned>(arguments.jobs).value_or(std::max(std::thread::hardware_concurrency(), 1U));
  options.memory_bytes = usage::ReadNumber<std::uint64_t>(arguments.memory).value() * kMegabyte;
  if (!arguments.isolation.empty()) options.isolation = RowOf(kIsolations, arguments.isolation).isolation;
  options.allow_unsandboxed = arguments.allow_unsandboxed;
  if (const auto seconds = usage::ReadNumber<double>(arguments.timeout)) {
    options.timeout = std::chrono::milliseconds(std::llround(*seconds * 1000));
  }
}

std::variant<Options, EarlyExit> ToOptions(Arguments&& arguments) {
  const std::string conflict = Conflict(arguments);
  if (!conflict.empty()) return UsageError(conflict);

  Options options;
  options.form = FormOf(arguments);
  options.log_level = RowOf(kLevels, arguments.log_level).level;
  options.service = RowOf(kServices, arguments.service).service;
  options.uuid = arguments.uuid;
  options.full = arguments.full;
  options.listing = ListingOf(arguments);
  options.from_standard_input = arguments.from_standard_input;
  if (arguments.zero_separated) options.separator = '\0';
  if (arguments.recursive)
    options.walk = WalkFilter{AllUnmarked(arguments.walk.include), AllUnmarked(arguments.walk.exclude)};
  options.output = Unmarked(std::move(arguments.output));
  options.log_file = Unmarked(std::move(arguments.log_file));
  if (arguments.progress || arguments.no_progress) options.progress = arguments.progress;
  TakeLimits(arguments, options);
  options.inputs = AllUnmarked(arguments.inputs);
  options.key = Unmarked(std::move(arguments.key));
  if (arguments.key_file.empty()) return options;

  const std::string path = Unmarked(std::move(arguments.key_file));
  KeyFile read = ReadKeyFile(path);
  if (!read.error.empty()) return UsageError("key file " + path + ": " + read.error);
  options.key = std::move(read.key);
  return options;
}

std::string UnknownOption(const CLI::App& app) {
  for (const std::string& word : app.remaining()) {
    if (word != "--") return word;
  }
  return {};
}

}  // namespace

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv) {
  Arguments arguments;
  const std::span words(argv + 1, argv + std::max(argc, 1));
  // Declaring the options takes as long as opening a small file; names alone need none of them.
  if (std::ranges::none_of(words, [](const char* word) { return word[0] == '-'; })) {
    arguments.inputs.assign(words.begin(), words.end());
    return ToOptions(std::move(arguments));
  }
  CLI::App app(kSummary, "mediaprobe");
  Declare(app, arguments);
  const std::string flag = usage::FlagWithValue(app, words);
  if (!flag.empty()) return UsageError(flag + " takes no value");
  // Of keys the last one holds.
  const CLI::Option* const key_option = app.get_option("--key");
  const auto notice = usage::Parse(
      app, [&] { app.parse(MarkedArguments(argc, argv)); }, [&] { return "there is no option " + UnknownOption(app); },
      key_option);
  for (const std::string& key : key_option->results()) Overwrite(Unmarked(key), argc, argv);
  if (notice) return notice->is_refusal ? UsageError(notice->text) : EarlyExit{kExitAnswered, notice->text};
  return ToOptions(std::move(arguments));
}

}  // namespace mediaprobe
