#pragma once

#include <functional>
#include <string_view>

#include "subject.h"

namespace module_check {

/// Starts the module and runs `task` with the query interface of a session of its service of that name. NotApplicable
/// when it has no such service.
template <typename Interface, typename Task>
void WithSessionOf(const Subject& subject, std::string_view service_name, Task task) {
  WithService(subject, service_name, [&](service::IService& service) {
    const OwnedSession session(service);
    task(session.As<Interface>());
  });
}

/// A path of `length` characters that names nothing.
inline std::string LongPath(std::size_t length) {
  std::string path;
  while (path.size() < length) path += "/folder";
  path.resize(length, 'x');
  return path;
}

/// Longer than any system takes.
inline constexpr std::size_t kOverlong = 100'000;

}  // namespace module_check
