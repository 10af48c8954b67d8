#pragma once

#include <cstdint>
#include <memory>

#include "service/iservice.h"

namespace service::mediainfo {

/// What the module's services answer alike. A service has no shared sessions unless it overrides CreateSharedSession.
class ServiceBase : public IService {
 public:
  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) override;
  std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) override;
  std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                             std::uint32_t* result) override;
  std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) override;
  bool FinalQuery() override { return false; }

 protected:
  /// A session of CreateSession that goes back to DestroySession with its last owner; empty when memory runs out.
  std::shared_ptr<ISession> ShareNewSession();
};

}  // namespace service::mediainfo
