#include "service-mediainfo/media_info/media_file_info_service.h"

#include <new>

#include "mediainfo/result.h"
#include "service-mediainfo/configured_media_server.h"
#include "service-mediainfo/media_info/media_file_info_session.h"

namespace service::mediainfo::media_info::impl {

IService* MediaFileInfoService::Create() {
  auto* service = new (std::nothrow) MediaFileInfoService;
  if (service == nullptr) return nullptr;
  service->media_server_ = MakeConfiguredMediaServer();
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
  return ShareNewSession();
}

std::uint32_t MediaFileInfoService::KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/,
                                               std::uint32_t* /*result*/) {
  return kSuccess;
}

}  // namespace service::mediainfo::media_info::impl
