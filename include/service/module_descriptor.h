#pragma once

#include <cstddef>
#include <cstdint>

#include "service/iconfig.h"
#include "service/iservice.h"

namespace service {

/// What a module tells of one of its services. Nine pointer-sized words; the module owns the table, the host only reads
/// it.
struct ServiceDescriptor {
  const char* name;         ///< the key under which the host registers the service
  const char* description;  ///< for people
  const char* uuid;         ///< canonical text, upper case, no braces
  std::uint64_t reserved3;  ///< zero, like the other two
  /// Called once with the host's configuration before `create`; null when the service needs none.
  bool (*init)(IConfig* config);
  /// A new service, or null.
  IService* (*create)();
  /// Destroys a service that `create` of the same descriptor gave; null is ignored.
  void (*release)(IService* service);
  std::uint64_t reserved7;
  std::uint64_t reserved8;
};
static_assert(sizeof(void*) != 8 || sizeof(ServiceDescriptor) == 72);

/// Name and type of a module's one exported function: stores the table's address and its count when both arguments are
/// non-null; always true.
inline constexpr char kGetServiceModuleInfo[] = "GetServiceModuleInfo";
using GetServiceModuleInfoFunction = bool (*)(const ServiceDescriptor** table, std::uint32_t* count);

}  // namespace service
