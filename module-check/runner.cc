#include "runner.h"

#include <poll.h>

#include <algorithm>
#include <list>
#include <map>
#include <string_view>

#include "child_process.h"

namespace module_check {
namespace {

using Clock = ChildProcess::Clock;

/// Checks that are run side by side.
class Pool {
 public:
  Pool(const Target& target, const RunOptions& options) : target_(target), options_(options) {}

  std::vector<Result> Run(const std::vector<const Check*>& checks) {
    std::map<const Check*, Result> results;
    for (const Check* check : checks) {
      while (running_.size() >= options_.jobs) WaitForSome(results);
      running_.emplace_back(*check, target_);
    }
    while (!running_.empty()) WaitForSome(results);
    std::vector<Result> in_order;
    in_order.reserve(checks.size());
    for (const Check* check : checks) in_order.push_back(std::move(results.at(check)));
    return in_order;
  }

 private:
  void WaitForSome(std::map<const Check*, Result>& results) {
    std::vector<pollfd> ends;
    for (const ChildProcess& child : running_) ends.push_back({child.descriptor(), POLLIN, 0});
    // The one that was started first is the first to be late.
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(running_.front().started() + options_.timeout - Clock::now());
    poll(ends.data(), ends.size(), static_cast<int>(std::max<std::int64_t>(left.count(), 0)));

    std::size_t index = 0;
    for (auto child = running_.begin(); child != running_.end(); ++index) {
      const bool has_ended = ends[index].revents != 0;
      const bool is_late = !has_ended && Clock::now() - child->started() >= options_.timeout;
      if (!has_ended && !is_late) {
        ++child;
        continue;
      }
      results.emplace(&child->check(), has_ended ? child->Judge() : child->Abandon(options_.timeout));
      child = running_.erase(child);
    }
  }

  const Target& target_;
  const RunOptions& options_;
  std::list<ChildProcess> running_;
};

/// Ids of the gates that an area lies behind.
std::vector<std::string_view> GatesBefore(std::span<const Area> areas, const Area& area) {
  std::vector<std::string_view> gates;
  for (const char* needs = area.needs; needs != nullptr;) {
    gates.emplace_back(needs);
    const auto behind =
        std::ranges::find_if(areas, [&](const Area& other) { return other.checks.front().id == gates.back(); });
    needs = behind == areas.end() ? nullptr : behind->needs;
  }
  return gates;
}

/// All checks that were asked for, and the gates before them.
std::vector<std::string_view> ChosenIds(std::span<const Area> areas, const RunOptions& options) {
  std::vector<std::string_view> ids;
  for (const Area& area : areas) {
    for (const Check& check : area.checks) {
      if (!options.is_wanted(check)) continue;
      ids.emplace_back(check.id);
      ids.emplace_back(area.checks.front().id);
      for (const std::string_view gate : GatesBefore(areas, area)) ids.push_back(gate);
    }
  }
  return ids;
}

/// Of a check behind a gate that did not pass.
Result Behind(const Result& gate, const Check& check) {
  if (gate.outcome == Outcome::kNotApplicable) return {&check, Outcome::kNotApplicable, {}};
  return {&check, Outcome::kNotRun, gate.outcome == Outcome::kFailed ? gate.check->id : gate.words};
}

}  // namespace

std::vector<Result> RunChecks(std::span<const Area> areas, const Target& target, const RunOptions& options) {
  const std::vector<std::string_view> ids = ChosenIds(areas, options);
  const auto is_chosen = [&](const Check& check) { return std::ranges::find(ids, check.id) != ids.end(); };
  Pool pool(target, options);
  std::vector<Result> all;
  const auto outcome_of = [&](std::string_view id) -> const Result* {
    const auto found = std::ranges::find_if(all, [&](const Result& result) { return result.check->id == id; });
    return found == all.end() ? nullptr : &*found;
  };

  for (const Area& area : areas) {
    std::vector<const Check*> chosen;
    for (const Check& check : area.checks) {
      if (is_chosen(check)) chosen.push_back(&check);
    }
    if (chosen.empty()) continue;

    const Result* before = area.needs == nullptr ? nullptr : outcome_of(area.needs);
    const bool is_open = before == nullptr || before->outcome == Outcome::kPassed;
    const Result gate = is_open ? pool.Run({chosen.front()}).front() : Behind(*before, *chosen.front());
    all.push_back(gate);
    chosen.erase(chosen.begin());
    if (gate.outcome == Outcome::kPassed) {
      for (Result& result : pool.Run(chosen)) all.push_back(std::move(result));
      continue;
    }
    for (const Check* check : chosen) all.push_back(Behind(gate, *check));
  }
  return all;
}

}  // namespace module_check
