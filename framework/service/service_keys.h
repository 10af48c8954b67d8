#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "service/module_descriptor.h"

namespace service {

/// The key under which a service of the name or UUID `id` is filed: upper case for what reads as a UUID, whose letter
/// case says nothing, and `id` itself for every other text.
std::string ServiceKey(const char* id);

/// Keys of the services of a table, with the index of the service that each belongs to.
using ServiceKeys = std::map<std::string, std::size_t>;

/// All keys of `table`. Nothing, and the reason in `*fault`, when it is no proper table: empty, without a name, a UUID
/// in canonical form, a create or a release function somewhere, or with two services under one key.
std::optional<ServiceKeys> ReadServiceKeys(std::span<const ServiceDescriptor> table, std::string* fault);

}  // namespace service
