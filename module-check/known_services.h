#pragma once

#include <cstdint>
#include <span>

#include "service/isession.h"

namespace module_check {

/// What the framework says of a service that it knows, whichever module offers it.
struct KnownService {
  const char* name;
  const char* uuid;
  std::uint32_t destroyed;  ///< DestroySession's answer for a session of the service
  std::uint32_t refused;    ///< and for everything else
  bool has_shared_sessions;
  bool keyed_query_writes;  ///< KeyedQuery stores 0; its answer is 0 everywhere
  std::uint32_t keyed_request;
  std::uint32_t shared_released;  ///< ReleaseSharedSession's answer
  bool (*has_interface)(service::ISession* session);
};

std::span<const KnownService> KnownServices();

/// Null for a service that the framework does not know, and for no name.
const KnownService* FindKnownService(const char* name);

}  // namespace module_check
