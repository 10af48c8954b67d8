#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <optional>
#include <span>
#include <string_view>
#include <thread>

#include "usage/usage.h"

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
      ->check(usage::InRange(0.001, 1e6, "number from 0.001 to 1000000"))
      ->group("What is checked");
  app.add_option("-j,--jobs", arguments.jobs, "Checks run at once (default: processors)")
      ->type_name("N")
      ->check(usage::InRange(1U, 256U, "whole number from 1 to 256"))
      ->group("What is checked");
  app.add_flag("-v,--verbose", options.verbose, "Tell every check, not only those that failed")->group("Output");
  app.add_flag("--json", options.json, "One JSON object")->group("Output");
  app.add_flag("--list", options.list, "List the checks, and leave")->group("About");
  app.set_version_flag("--version", "module-check " MODULE_CHECK_VERSION, "Show the version and leave")->group("About");
  app.set_help_flag("-h,--help", "Show this text and leave")->group("About");
  usage::LetLastHold(app);
}

/// For what CLI11 found no place: an option that there is not, or a second module.
std::string ExtraWords(const CLI::App& app, const std::string& module) {
  const std::vector<std::string> extras = app.remaining();
  const auto extra = std::ranges::find_if(extras, [](const std::string& word) { return word != "--"; });
  if (extra == extras.end()) return "-- stands before nothing";
  return extra->starts_with('-') ? "there is no option " + *extra : "choose one of " + module + " and " + *extra;
}

}  // namespace

std::variant<Options, EarlyExit> ParseCommandLine(int argc, char** argv) {
  CLI::App app(kSummary, "module-check");
  Arguments arguments;
  Declare(app, arguments);
  const std::string flag = usage::FlagWithValue(app, std::span(argv + 1, argv + std::max(argc, 1)));
  if (!flag.empty()) return UsageError(flag + " takes no value");
  const auto notice = usage::Parse(
      app, [&] { app.parse(argc, argv); }, [&] { return ExtraWords(app, arguments.options.module); },
      /*repeatable=*/nullptr);
  if (notice) return notice->is_refusal ? UsageError(notice->text) : EarlyExit{kExitKept, notice->text};
  Options& options = arguments.options;
  if (options.list != options.module.empty()) {
    return UsageError(options.list ? "choose one of --list and a module" : "no module");
  }
  options.timeout =
      std::chrono::milliseconds(std::llround(usage::ReadNumber<double>(arguments.timeout).value() * 1000));
  options.jobs =
      usage::ReadNumber<unsigned>(arguments.jobs).value_or(std::max(std::thread::hardware_concurrency(), 1U));
  return std::move(options);
}

}  // namespace module_check
