#include "report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace module_check {
namespace {

struct OutcomeWords {
  Outcome outcome;
  const char* heading;  ///< before a line of the text form
  const char* status;   ///< in JSON
};

constexpr std::array<OutcomeWords, 4> kWords{{
    {Outcome::kPassed, "ok      ", "passed"},
    {Outcome::kFailed, "FAILED  ", "failed"},
    {Outcome::kNotApplicable, "n/a     ", "not-applicable"},
    {Outcome::kNotRun, "not run ", "not-run"},
}};

const OutcomeWords& WordsOf(Outcome outcome) { return *std::ranges::find(kWords, outcome, &OutcomeWords::outcome); }

std::ptrdiff_t Count(std::span<const Result> results, Outcome outcome) {
  return std::ranges::count(results, outcome, &Result::outcome);
}

/// Those that the module has something for.
std::ptrdiff_t Applicable(std::span<const Result> results) {
  return static_cast<std::ptrdiff_t>(results.size()) - Count(results, Outcome::kNotApplicable);
}

/// Names come from the module: they must neither drive a terminal nor begin a line.
std::string Printable(std::string_view text) {
  std::string printable;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x20 && value != 0x7F && (value < 0x80 || value > 0x9F)) {
      printable += byte;
      continue;
    }
    // The second bytes of UTF-8 are in the range of the upper control characters.
    const bool continues = value >= 0x80 && !printable.empty() && static_cast<unsigned char>(printable.back()) >= 0x80;
    std::array<char, 8> escape{};
    std::snprintf(escape.data(), escape.size(), "\\x%02x", value);
    printable += continues ? std::string(1, byte) : std::string(escape.data());
  }
  return printable;
}

}  // namespace

std::string ListChecks(std::span<const Area> areas) {
  std::string lines;
  for (const Area& area : areas) {
    for (const Check& check : area.checks) lines += std::string(check.id) + "\t" + check.promise + "\n";
  }
  return lines;
}

std::string TextReport(std::span<const Result> results, bool verbose) {
  std::string text;
  for (const Result& result : results) {
    if (!verbose && result.outcome != Outcome::kFailed) continue;
    text += WordsOf(result.outcome).heading + std::string(result.check->id) + ": " + result.check->promise;
    if (!result.words.empty()) {
      const bool has_cause = result.outcome == Outcome::kNotRun;
      text += "\n          " + std::string(has_cause ? "after " : "") + Printable(result.words);
    }
    text += "\n";
  }
  text +=
      std::to_string(Applicable(results)) + " checks, " + std::to_string(Count(results, Outcome::kFailed)) + " failed";
  if (const auto not_run = Count(results, Outcome::kNotRun); not_run > 0) {
    text += ", " + std::to_string(not_run) + " not run";
  }
  return text + "\n";
}

std::string JsonReport(const std::string& module, std::span<const Result> results) {
  nlohmann::ordered_json report{{"module", module},
                                {"checks", Applicable(results)},
                                {"failed", Count(results, Outcome::kFailed)},
                                {"not_run", Count(results, Outcome::kNotRun)},
                                {"results", nlohmann::ordered_json::array()}};
  for (const Result& result : results) {
    nlohmann::ordered_json entry{
        {"id", result.check->id}, {"promise", result.check->promise}, {"status", WordsOf(result.outcome).status}};
    if (result.outcome == Outcome::kFailed) entry["found"] = result.words;
    if (result.outcome == Outcome::kNotRun) entry["after"] = result.words;
    report["results"].push_back(std::move(entry));
  }
  return report.dump(/*indent=*/2, ' ', /*ensure_ascii=*/false, nlohmann::ordered_json::error_handler_t::replace) +
         "\n";
}

bool HasFailed(std::span<const Result> results) { return Count(results, Outcome::kFailed) > 0; }

}  // namespace module_check
