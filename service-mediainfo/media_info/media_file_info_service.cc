#include "service-mediainfo/media_info/media_file_info_service.h"

#include <new>

#include "mediainfo/result.h"
#include "service-mediainfo/media_info/media_file_info_session.h"
#include "service-mediainfo/settings.h"

namespace service::mediainfo::media_info::impl {

IService* MediaFileInfoService::Create() {
  auto* service = new (std::nothrow) MediaFileInfoService;
  if (service == nullptr) return nullptr;
  // The status tells nothing that the pointer does not: sessions test the pointer.
  CreateMediaServer(settings::media_info_path.c_str(), settings::media_proxy_path.c_str(), settings::app_path.c_str(),
                    settings::app_res_path.c_str(), settings::log_path.c_str(), service->media_server_.Put());
  return service;
}

ISession* MediaFileInfoService::CreateSession() {
  auto* session = new (std::nothrow) MediaFileInfoSession(media_server_.Get());
  if (session == nullptr) return nullptr;
  session->AddRef();
  return session;
}

std::uint32_t MediaFileInfoService::DestroySession(ISession* session) {
  auto* own = dynamic_cast<MediaFileInfoSession*>(session);
  if (own == nullptr) return kFailed;
  own->Release();
  return kSuccess;
}

std::shared_ptr<ISession> MediaFileInfoService::CreateSharedSession(std::uintptr_t /*reserved*/) {
  ISession* session = CreateSession();
  if (session == nullptr) return {};
  try {
    return {session, [this](ISession* last) { DestroySession(last); }};
  } catch (const std::bad_alloc&) {
    // The pointer's constructor gave the session back already.
    return {};
  }
}

std::uint32_t MediaFileInfoService::KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/,
                                               std::uint32_t* /*result*/) {
  return 0;
}

std::uint32_t MediaFileInfoService::KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/,
                                                 std::uintptr_t /*third*/, std::uint32_t* result) {
  if (result != nullptr) *result = 0;
  return kFailed;
}

std::uint32_t MediaFileInfoService::ReleaseSharedSession(std::shared_ptr<ISession> session) {
  session.reset();
  return kSuccess;
}

}  // namespace service::mediainfo::media_info::impl
