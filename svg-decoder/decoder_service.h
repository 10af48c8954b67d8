#pragma once

#include "service/iservice.h"

namespace svg_decoder {

/// Makes the sessions that decode SVGs. It keeps nothing, so that sessions may outlive it.
class DecoderService final : public service::IService {
 public:
  /// Create function of the service's descriptor. Null when memory runs out.
  static service::IService* Create();

  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override;
  /// 0 when the session was destroyed; 1 for null and for sessions of others.
  std::uint32_t DestroySession(service::ISession* session) override;
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t reserved) override;
  std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) override;
  std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                             std::uint32_t* result) override;
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession> session) override;
  bool FinalQuery() override { return false; }
};

}  // namespace svg_decoder
