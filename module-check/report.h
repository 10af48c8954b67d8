#pragma once

#include <span>
#include <string>

#include "check.h"
#include "runner.h"

namespace module_check {

/// The ids of all checks with what each promises, a line each, separated by a tab.
std::string ListChecks(std::span<const Area> areas);

/// A line for each check that failed, or with `verbose` for every check, and the summary.
std::string TextReport(std::span<const Result> results, bool verbose);

/// One JSON object; docs/module-check.md tells its keys.
std::string JsonReport(const std::string& module, std::span<const Result> results);

bool HasFailed(std::span<const Result> results);

}  // namespace module_check
