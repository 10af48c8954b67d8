#pragma once

#include <span>

namespace module_check {

class Subject;

/// One thing that the contract promises.
struct Check {
  const char* id;       ///< "area.subject", stable: scripts know it
  const char* promise;  ///< what must hold, in one line
  /// Runs in a process of its own, which it may leave in any state. Throws Fault when the promise is broken and
  /// NotApplicable when the module has nothing that the promise is about. Every other exception is the module's.
  void (*run)(Subject& subject);
};

/// Checks of one kind. The first one is the gate: where it fails, the others would only say so again, and are not run.
struct Area {
  const char* needs;  ///< id of the gate of an earlier area that opens this one; null for none
  std::span<const Check> checks;
};

}  // namespace module_check
