#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>

#include "checks/areas.h"
#include "command_line.h"
#include "elf_file.h"
#include "report.h"
#include "runner.h"
#include "sample_files.h"

namespace module_check {
namespace {

namespace fs = std::filesystem;

constexpr char kSvgDecoder[] = "svg-decoder.so";

int Refuse(const std::string& subject, const std::string& reason) {
  std::fprintf(stderr, "module-check: %s: %s\n", subject.c_str(), reason.c_str());
  return kExitUsage;
}

int Write(const std::string& text, int status) {
  const bool was_written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
  return was_written ? status : Refuse("standard output", "cannot be written");
}

/// Why a file is not what it should be; nothing when all is well.
std::optional<std::string> FaultOfFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) return "no such file";
  if (!fs::is_regular_file(status)) return "not a regular file";
  return std::nullopt;
}

std::optional<std::string> FaultOfModule(const std::string& path) {
  if (auto fault = FaultOfFile(path)) return fault;
  std::string fault;
  if (!ReadElfFile(path, &fault)) return "not a module: " + fault;
  return std::nullopt;
}

Target MakeTarget(const Options& options, const SampleFiles& samples) {
  Target target;
  target.module = fs::canonical(options.module);
  target.sample_folder = samples.folder();
  target.media_file_is_ours = options.media_file.empty();
  target.media_file = samples.folder() + "/" + sample_names::kSound;
  if (!target.media_file_is_ours) target.media_file = fs::canonical(options.media_file);
  for (const std::string& companion : options.with) target.companions.push_back(fs::canonical(companion));
  const fs::path decoder = fs::path(target.module).replace_filename(kSvgDecoder);
  if (options.with.empty() && decoder != target.module && fs::exists(decoder)) target.companions.push_back(decoder);
  return target;
}

bool Matches(const std::vector<std::string>& patterns, const char* id) {
  return patterns.empty() || std::ranges::any_of(patterns, [id](const std::string& pattern) {
           return fnmatch(pattern.c_str(), id, 0) == 0;
         });
}

/// A pattern that matches nothing; nothing when each matches something.
std::optional<std::string> IdlePattern(const std::vector<std::string>& patterns) {
  for (const std::string& pattern : patterns) {
    const bool is_used = std::ranges::any_of(Areas(), [&](const Area& area) {
      return std::ranges::any_of(area.checks, [&](const Check& check) { return Matches({pattern}, check.id); });
    });
    if (!is_used) return pattern;
  }
  return std::nullopt;
}

int Run(const Options& options) {
  if (options.list) return Write(ListChecks(Areas()), kExitKept);
  if (const auto fault = FaultOfModule(options.module)) return Refuse(options.module, *fault);
  for (const std::string& companion : options.with) {
    if (const auto fault = FaultOfModule(companion)) return Refuse(companion, *fault);
  }
  if (!options.media_file.empty()) {
    if (const auto fault = FaultOfFile(options.media_file)) return Refuse(options.media_file, *fault);
  }
  if (const auto pattern = IdlePattern(options.only)) return Refuse(*pattern, "no check has such an id");

  const SampleFiles samples;
  const Target target = MakeTarget(options, samples);
  const auto is_wanted = [&](const Check& check) { return Matches(options.only, check.id); };
  const std::vector<Result> results = RunChecks(Areas(), target, {options.timeout, options.jobs, is_wanted});
  const std::string report = options.json ? JsonReport(options.module, results) : TextReport(results, options.verbose);
  return Write(report, HasFailed(results) ? kExitBroken : kExitKept);
}

}  // namespace
}  // namespace module_check

int main(int argc, char** argv) {
  const auto parsed = module_check::ParseCommandLine(argc, argv);
  if (const auto* leave = std::get_if<module_check::EarlyExit>(&parsed)) {
    std::fputs(leave->text.c_str(), leave->status == module_check::kExitKept ? stdout : stderr);
    return leave->status;
  }
  try {
    return module_check::Run(std::get<module_check::Options>(parsed));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "module-check: %s\n", error.what());
    return module_check::kExitUsage;
  }
}
