#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "core/log.h"
#include "terminal_text.h"

namespace mediaprobe {
namespace {

constexpr char kSummary[] = "Tells what is in media files, images and SVGs.";
constexpr char kDetails[] =
    "A picture sequence is named by its numbers in brackets: img_[0001-0100].png.\n"
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

template <typename Table>
std::vector<std::string> NamesIn(const Table& table) {
  std::vector<std::string> names;
  for (const auto& row : table) names.emplace_back(row.name);
  return names;
}

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
  return {kExitUsage, "mediaprobe: " + TerminalText(words) + "\nTry 'mediaprobe --help'.\n"};
}

/// The command line's texts as CLI11 and its callers see them.
struct Arguments {
  std::vector<std::string> inputs;
  bool text = false;
  bool json = false;
  bool ndjson = false;
  bool uuid = false;
  std::string service = "auto";
  std::string key;
  std::string key_file;
  std::string log_level = "off";
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

void Declare(CLI::App& app, Arguments& arguments) {
  app.footer(kDetails);
  app.set_version_flag("--version", "mediaprobe " MEDIAPROBE_VERSION, "Show the version and leave");
  app.set_help_flag("-h,--help", "Show this text and leave");
  app.add_option("INPUT", arguments.inputs, "File, picture sequence, URL (http:, file:, ...)")
      ->required()
      ->type_name("");
  app.add_flag("--text", arguments.text, "Blocks made to be read (default)");
  app.add_flag("--json", arguments.json, "One JSON array");
  app.add_flag("--ndjson", arguments.ndjson, "One JSON record a line");
  app.add_flag("-u,--uuid", arguments.uuid, "Add the UUID (MD5) of the whole content");
  app.add_option("--service", arguments.service, "Service to ask (default: auto, by content)")
      ->type_name("NAME")
      ->check(CLI::IsMember(NamesIn(kServices)));
  app.add_option("-k,--key", arguments.key, "Hex key that opens protected files")->type_name("KEY")->take_last();
  app.add_option("--key-file", arguments.key_file, "File that holds the key")->type_name("FILE");
  app.add_option("--log-level", arguments.log_level, "Least severe log lines to show (default: off)")
      ->type_name("LEVEL")
      ->check(CLI::IsMember(NamesIn(kLevels)));
}

/// Empty when the options go together.
std::string Conflict(const Arguments& arguments) {
  if (arguments.text + arguments.json + arguments.ndjson > 1) return "choose one of --text, --json and --ndjson";
  if (!arguments.key.empty() && !arguments.key_file.empty()) return "choose one of --key and --key-file";
  return {};
}

OutputForm FormOf(const Arguments& arguments) {
  if (arguments.json) return OutputForm::kJson;
  return arguments.ndjson ? OutputForm::kNdjson : OutputForm::kText;
}

std::variant<Options, EarlyExit> ToOptions(Arguments&& arguments) {
  const std::string conflict = Conflict(arguments);
  if (!conflict.empty()) return UsageError(conflict);

  Options options;
  options.form = FormOf(arguments);
  options.log_level = RowOf(kLevels, arguments.log_level).level;
  options.service = RowOf(kServices, arguments.service).service;
  options.uuid = arguments.uuid;
  for (std::string& input : arguments.inputs) options.inputs.push_back(Unmarked(std::move(input)));
  options.key = Unmarked(std::move(arguments.key));
  if (arguments.key_file.empty()) return options;

  const std::string path = Unmarked(std::move(arguments.key_file));
  KeyFile read = ReadKeyFile(path);
  if (!read.error.empty()) return UsageError("key file " + path + ": " + read.error);
  options.key = std::move(read.key);
  return options;
}

/// Empty when the arguments were read.
std::optional<EarlyExit> Parse(CLI::App& app, std::vector<std::string>&& arguments) {
  try {
    app.parse(std::move(arguments));
    return std::nullopt;
  } catch (const CLI::CallForHelp&) {
    return EarlyExit{kExitAnswered, app.help()};
  } catch (const CLI::CallForVersion& version) {
    return EarlyExit{kExitAnswered, std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    return UsageError(error.what());
  }
}

}  // namespace

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv) {
  CLI::App app(kSummary, "mediaprobe");
  Arguments arguments;
  Declare(app, arguments);
  const std::optional<EarlyExit> leave = Parse(app, MarkedArguments(argc, argv));
  for (const std::string& key : app.get_option("--key")->results()) Overwrite(Unmarked(key), argc, argv);
  if (leave) return *leave;
  return ToOptions(std::move(arguments));
}

}  // namespace mediaprobe
