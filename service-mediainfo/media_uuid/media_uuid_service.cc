#include "service-mediainfo/media_uuid/media_uuid_service.h"

#include <new>

#include "mediainfo/result.h"
#include "service-mediainfo/configured_media_server.h"
#include "service-mediainfo/media_uuid/media_uuid_session.h"

namespace service::mediainfo::media_uuid::impl {

IService* MediaUuidService::Create() {
  auto* service = new (std::nothrow) MediaUuidService;
  if (service == nullptr) return nullptr;
  service->media_server_ = MakeConfiguredMediaServer();
  return service;
}

ISession* MediaUuidService::CreateSession() { return new (std::nothrow) MediaUuidSession(*this); }

std::uint32_t MediaUuidService::DestroySession(ISession* session) {
  auto* own = dynamic_cast<MediaUuidSession*>(session);
  if (own == nullptr) return kFailed;
  delete own;
  return kSuccess;
}

}  // namespace service::mediainfo::media_uuid::impl
