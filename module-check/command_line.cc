#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>
#include <thread>

namespace module_check {
namespace {

constexpr char kSummary[] =
    "Checks that a module keeps the contract between modules and hosts, from outside: its file, its table of\n"
    "services, the services and their sessions, and what it leaves behind when it is unloaded.";
constexpr char kDetails[] =
    "Each check runs in a process of its own: a crash or a hang is the failure of that check.\n"
    "Exit status: 0 every check passed, 1 at least one failed, 2 wrong usage or not a module.";

EarlyExit UsageError(const std::string& words) {
  return {kExitUsage, "module-check: " + words + " (try 'module-check --help')\n"};
}

/// The decimal number that a text is, and nothing else. (CLI11 reads "010" as eight, and "nan" lies in its ranges.)
template <typename Number>
std::optional<Number> ReadNumber(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// `words` say what the text of a number has to be.
template <typename Number>
CLI::Validator InRange(Number least, Number most, const std::string& words) {
  const auto check = [=](const std::string& text) {
    const auto number = ReadNumber<Number>(text);
    const bool is_good = number && *number >= least && *number <= most;
    return is_good ? std::string() : "'" + text + "' is not a " + words;
  };
  return {check, ""};
}

struct Arguments {
  Options options;
  std::string timeout = "10";
  std::string jobs;
};

void Declare(CLI::App& app, Arguments& arguments) {
  Options& options = arguments.options;
  app.footer(kDetails);
  app.add_option("MODULE", options.module, "Shared object of the module")->type_name("");
  app.add_option("--sample", options.media_file, "Media file to check with, instead of one of its own")
      ->type_name("FILE")
      ->group("What is checked");
  app.add_option("--with", options.with, "Module whose services it asks for (default: svg-decoder.so beside it)")
      ->type_name("MODULE")
      ->allow_extra_args(false)
      ->group("What is checked");
  app.add_option("--only", options.only, "Run only checks whose id matches, and what they need")
      ->type_name("GLOB")
      ->allow_extra_args(false)
      ->group("What is checked");
  app.add_option("--timeout", arguments.timeout, "Longest time for one check (default: 10)")
      ->type_name("SECONDS")
      ->check(InRange(0.001, 1e6, "number from 0.001 to 1000000"))
      ->group("What is checked");
  app.add_option("-j,--jobs", arguments.jobs, "Checks run at once (default: processors)")
      ->type_name("N")
      ->check(InRange(1U, 256U, "whole number from 1 to 256"))
      ->group("What is checked");
  app.add_flag("-v,--verbose", options.verbose, "Tell every check, not only those that failed")->group("Output");
  app.add_flag("--json", options.json, "One JSON object")->group("Output");
  app.add_flag("--list", options.list, "List the checks, and leave")->group("About");
  app.set_version_flag("--version", "module-check " MODULE_CHECK_VERSION, "Show the version and leave")->group("About");
  app.set_help_flag("-h,--help", "Show this text and leave")->group("About");
  // Those that are given twice are refused in words of ours.
  for (CLI::Option* option : app.get_options()) {
    if (option->get_expected_max() == 1) option->take_last();
  }
}

/// CLI11 sets its groups two lines apart.
std::string HelpOf(const CLI::App& app) {
  std::string text = app.help();
  for (auto gap = text.find("\n\n\n"); gap != std::string::npos; gap = text.find("\n\n\n", gap)) text.erase(gap, 1);
  return text;
}

/// A flag with a value of its own ("--json=no"), which CLI11 would read as a word for yes or no; empty for none.
std::string FlagWithValue(const CLI::App& app, std::span<char* const> words) {
  for (const std::string_view word : words) {
    if (word == "--") break;
    const std::size_t equals = word.find('=');
    if (!word.starts_with("--") || equals == word.npos) continue;
    std::string name(word.substr(0, equals));
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option && option->get_expected_max() == 0) return name;
  }
  return {};
}

/// An option for one value that is given more than once; empty for none.
std::string RepeatedOption(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_expected_max() == 1 && option->count() > 1) return option->get_name();
  }
  return {};
}

/// For what CLI11 found no place: an option that there is not, or a second module.
std::string ExtraWords(const CLI::App& app, const std::string& module) {
  const std::vector<std::string> extras = app.remaining();
  const auto extra = std::ranges::find_if(extras, [](const std::string& word) { return word != "--"; });
  if (extra == extras.end()) return "-- stands before nothing";
  return extra->starts_with('-') ? "there is no option " + *extra : "choose one of " + module + " and " + *extra;
}

/// Empty when the arguments were read.
std::optional<EarlyExit> Parse(CLI::App& app, const std::string& module, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    if (const std::string name = RepeatedOption(app); !name.empty()) return UsageError(name + " is given twice");
    return std::nullopt;
  } catch (const CLI::ExtrasError&) {
    return UsageError(ExtraWords(app, module));
  } catch (const CLI::ArgumentMismatch& error) {
    // What is too much is not refused, and what is too little begins with the option's name.
    const std::string words = error.what();
    return UsageError(words.substr(0, words.find(':')) + " needs a value");
  } catch (const CLI::CallForHelp&) {
    return EarlyExit{kExitKept, HelpOf(app)};
  } catch (const CLI::CallForVersion& version) {
    return EarlyExit{kExitKept, std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    return UsageError(error.what());
  }
}

}  // namespace

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv) {
  CLI::App app(kSummary, "module-check");
  Arguments arguments;
  Declare(app, arguments);
  const std::string flag = FlagWithValue(app, std::span(argv + 1, argv + std::max(argc, 1)));
  if (!flag.empty()) return UsageError(flag + " takes no value");
  if (std::optional<EarlyExit> leave = Parse(app, arguments.options.module, argc, argv)) return *std::move(leave);
  Options& options = arguments.options;
  if (options.list != options.module.empty()) {
    return UsageError(options.list ? "choose one of --list and a module" : "no module");
  }
  options.timeout = std::chrono::milliseconds(std::llround(ReadNumber<double>(arguments.timeout).value() * 1000));
  options.jobs = ReadNumber<unsigned>(arguments.jobs).value_or(std::max(std::thread::hardware_concurrency(), 1U));
  return std::move(options);
}

}  // namespace module_check
