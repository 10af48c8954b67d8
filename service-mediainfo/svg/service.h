#pragma once

#include <memory>

#include "service-mediainfo/service_base.h"

namespace service::mediainfo::svg {

/// Makes the sessions that measure SVGs, each with a session of the SVG decoder service of its own.
class Service final : public ServiceBase {
 public:
  /// Create function of the service's descriptor. Null when memory runs out.
  static IService* Create();

  /// A session also when there is no decoder; such a session takes no path. Null when memory runs out.
  ISession* CreateSession() override;
  /// 1 when the session was destroyed; 0 for null and for sessions of others.
  std::uint32_t DestroySession(ISession* session) override;
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) override;
  /// Takes any request and answers 0.
  std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                             std::uint32_t* result) override;
  /// Always 0xFFFFFFFF.
  std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) override;

 private:
  /// Part of the object's layout. Nothing fills it.
  std::shared_ptr<void> shared_;
};

}  // namespace service::mediainfo::svg
