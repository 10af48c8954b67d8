#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/check.h"
#include "service/module_descriptor.h"

namespace fuzz {

/// The table of the module that the build made, as its exported function tells it. The module is loaded once.
std::span<const service::ServiceDescriptor> ModuleTable();

struct ServicePlace {
  std::size_t position;     ///< in the table
  std::uint32_t destroyed;  ///< what DestroySession answers for a session of its own
};
inline constexpr ServicePlace kMediaFileService{0, 0};
inline constexpr ServicePlace kImageService{1, 1};
inline constexpr ServicePlace kSvgService{2, 1};
inline constexpr ServicePlace kUuidService{3, 0};

/// A service of the module and one of its sessions; both are given back at the end.
template <typename Interface>
class Session {
 public:
  explicit Session(const ServicePlace& place)
      : destroyed_(place.destroyed),
        descriptor_(ModuleTable()[place.position]),
        service_(descriptor_.create()),
        session_(service_ != nullptr ? service_->CreateSession() : nullptr),
        interface_(dynamic_cast<Interface*>(session_)) {
    FUZZ_CHECK(interface_ != nullptr);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() {
    Destroy(session_);
    descriptor_.release(service_);
  }

  Interface* operator->() const { return interface_; }
  Interface& operator*() const { return *interface_; }

  /// Gives back a session of the service, which has it no more afterwards.
  void Destroy(service::ISession* session) const {
    FUZZ_CHECK(service_->DestroySession(session) == destroyed_);
    FUZZ_CHECK(service_->DestroySession(nullptr) != destroyed_);
  }

 private:
  std::uint32_t destroyed_;
  const service::ServiceDescriptor& descriptor_;
  service::IService* service_;
  service::ISession* session_;
  Interface* interface_;
};

}  // namespace fuzz
