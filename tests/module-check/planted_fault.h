#pragma once

#include <cstdlib>
#include <cstring>

/// Whether the environment asks for a fault of this name.
inline bool Has(const char* fault) {
  const char* chosen = std::getenv("MODULE_FAULT");
  return chosen != nullptr && std::strcmp(chosen, fault) == 0;
}
