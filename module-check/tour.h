#pragma once

#include "subject.h"

namespace module_check {

/// What a host does with a module from beginning to end but for unloading: every service, a used session of each,
/// shared sessions.
LoadedModule Tour(const Subject& subject);

}  // namespace module_check
