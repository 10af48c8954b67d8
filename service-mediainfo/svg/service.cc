#include "service-mediainfo/svg/service.h"

#include <limits>
#include <new>
#include <utility>

#include "mediainfo/result.h"
#include "service-mediainfo/svg/session.h"

namespace service::mediainfo::svg {
namespace {

constexpr std::uint32_t kDestroyed = 1;
constexpr std::uint32_t kNotDestroyed = 0;
constexpr std::uint32_t kReleased = std::numeric_limits<std::uint32_t>::max();

}  // namespace

IService* Service::Create() { return new (std::nothrow) Service; }

ISession* Service::CreateSession() {
  auto* created = new (std::nothrow) session;
  if (created == nullptr) return nullptr;
  created->AcquireDecoder();
  return created;
}

std::uint32_t Service::DestroySession(ISession* session_of_any) {
  auto* own = dynamic_cast<session*>(session_of_any);
  if (own == nullptr) return kNotDestroyed;
  delete own;
  return kDestroyed;
}

std::shared_ptr<ISession> Service::CreateSharedSession(std::uintptr_t /*reserved*/) { return ShareNewSession(); }

std::uint32_t Service::KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uintptr_t /*third*/,
                                    std::uint32_t* result) {
  if (result != nullptr) *result = 0;
  return kSuccess;
}

std::uint32_t Service::ReleaseSharedSession(std::shared_ptr<ISession> shared) {
  shared.reset();
  return kReleased;
}

}  // namespace service::mediainfo::svg
