#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "service/iconfig.h"

namespace service {

/// A host's configuration as a table of texts. Fill it before it is handed to modules; after that any number of threads
/// may read it.
class Configuration final : public IConfig {
 public:
  /// Replaces what was set before. Both texts are UTF-8.
  void Set(std::string key, std::string value) { values_.insert_or_assign(std::move(key), std::move(value)); }

  void Reserved1() override {}
  void Reserved2() override {}
  void Reserved3() override {}
  /// Valid until the value is set again. Null for a null key too.
  const char* GetString(const char* key, std::uintptr_t /*reserved*/) override {
    if (!key) return nullptr;
    const auto found = values_.find(key);
    return found == values_.end() ? nullptr : found->second.c_str();
  }

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace service
