#pragma once

#include <cstdint>
#include <memory>

#include "service/iservice.h"

/// A service that does nothing. Tests derive from it what they watch.
class FakeService : public service::IService {
 public:
  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override { return nullptr; }
  std::uint32_t DestroySession(service::ISession* /*session*/) override { return 1; }
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t /*reserved*/) override { return nullptr; }
  std::uint32_t KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uint32_t* /*result*/) override {
    return 0;
  }
  std::uint32_t KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uintptr_t /*third*/,
                             std::uint32_t* /*result*/) override {
    return 1;
  }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession> /*session*/) override { return 0; }
  bool FinalQuery() override { return false; }
};
