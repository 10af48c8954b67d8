#include "service-mediainfo/service_base.h"

#include <new>

#include "mediainfo/result.h"

namespace service::mediainfo {

std::shared_ptr<ISession> ServiceBase::CreateSharedSession(std::uintptr_t /*reserved*/) { return {}; }

std::uint32_t ServiceBase::KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uint32_t* result) {
  if (result != nullptr) *result = 0;
  return kSuccess;
}

std::uint32_t ServiceBase::KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uintptr_t /*third*/,
                                        std::uint32_t* result) {
  if (result != nullptr) *result = 0;
  return kFailed;
}

std::uint32_t ServiceBase::ReleaseSharedSession(std::shared_ptr<ISession> session) {
  session.reset();
  return kSuccess;
}

std::shared_ptr<ISession> ServiceBase::ShareNewSession() {
  ISession* session = CreateSession();
  if (session == nullptr) return {};
  try {
    return {session, [this](ISession* last) { DestroySession(last); }};
  } catch (const std::bad_alloc&) {
    // The pointer's constructor gave the session back already.
    return {};
  }
}

}  // namespace service::mediainfo
