#include "service_keys.h"

#include "core/uuid.h"

namespace service {
namespace {

/// What is wrong with one descriptor by itself; null when nothing is.
const char* FindFault(const ServiceDescriptor& descriptor) {
  if (!descriptor.name || !*descriptor.name) return "it has no name";
  if (!core::Uuid().FromString(descriptor.uuid)) return "its UUID is missing or malformed";
  if (!descriptor.create) return "it has no create function";
  if (!descriptor.release) return "it has no release function";
  return nullptr;
}

}  // namespace

std::string ServiceKey(const char* id) {
  core::Uuid uuid;
  return uuid.FromString(id) ? uuid.ToString() : id;
}

std::optional<ServiceKeys> ReadServiceKeys(std::span<const ServiceDescriptor> table, std::string* fault) {
  if (table.empty()) {
    *fault = "the table of services is empty";
    return std::nullopt;
  }
  ServiceKeys keys;
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (const char* found = FindFault(table[index])) {
      *fault = "service " + std::to_string(index) + ": " + found;
      return std::nullopt;
    }
    for (const char* id : {table[index].name, table[index].uuid}) {
      const auto [place, is_new] = keys.emplace(ServiceKey(id), index);
      // A service whose name is its own UUID is in order.
      if (is_new || place->second == index) continue;
      *fault = "two services are called \"" + place->first + "\"";
      return std::nullopt;
    }
  }
  return keys;
}

}  // namespace service
