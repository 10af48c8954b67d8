#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
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

/// CLI11 takes "nan" for a number within every range.
const CLI::Validator kNumber(
    [](const std::string& text) {
      return std::isnan(std::strtod(text.c_str(), nullptr)) ? std::string("not a number") : std::string();
    },
    "");

struct Arguments {
  Options options;
  double timeout_s = 10;
};

void Declare(CLI::App& app, Arguments& arguments) {
  constexpr double kShortestTimeout = 0.001;
  constexpr double kLongestTimeout = 1e6;
  constexpr unsigned kMostJobs = 256;
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
  app.add_option("--timeout", arguments.timeout_s, "Longest time for one check (default: 10)")
      ->type_name("SECONDS")
      ->check(CLI::Range(kShortestTimeout, kLongestTimeout).description(""))
      ->check(kNumber)
      ->group("What is checked");
  app.add_option("-j,--jobs", options.jobs, "Checks run at once (default: processors)")
      ->type_name("N")
      ->check(CLI::Range(1U, kMostJobs).description(""))
      ->group("What is checked");
  app.add_flag("-v,--verbose", options.verbose, "Tell every check, not only those that failed")->group("Output");
  app.add_flag("--json", options.json, "One JSON object")->group("Output");
  app.add_flag("--list", options.list, "List the checks, and leave")->group("About");
  app.set_version_flag("--version", "module-check " MODULE_CHECK_VERSION, "Show the version and leave")->group("About");
  app.set_help_flag("-h,--help", "Show this text and leave")->group("About");
}

/// CLI11 sets its groups two lines apart.
std::string HelpOf(const CLI::App& app) {
  std::string text = app.help();
  for (auto gap = text.find("\n\n\n"); gap != std::string::npos; gap = text.find("\n\n\n", gap)) text.erase(gap, 1);
  return text;
}

}  // namespace

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv) {
  CLI::App app(kSummary, "module-check");
  Arguments arguments;
  arguments.options.jobs = std::max(std::thread::hardware_concurrency(), 1U);
  Declare(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return EarlyExit{kExitKept, HelpOf(app)};
  } catch (const CLI::CallForVersion& version) {
    return EarlyExit{kExitKept, std::string(version.what()) + "\n"};
  } catch (const CLI::ParseError& error) {
    return UsageError(error.what());
  }
  Options& options = arguments.options;
  if (options.list != options.module.empty()) {
    return UsageError(options.list ? "choose one of --list and a module" : "no module");
  }
  options.timeout = std::chrono::milliseconds(std::llround(arguments.timeout_s * 1000));
  return std::move(options);
}

}  // namespace module_check
