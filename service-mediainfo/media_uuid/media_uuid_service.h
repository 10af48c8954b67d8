#pragma once

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/media_uuid/uuid_cache.h"
#include "service-mediainfo/service_base.h"

namespace service::mediainfo::media_uuid::impl {

/// Makes the sessions that identify files by content, and owns the texts that they share.
class MediaUuidService final : public ServiceBase {
 public:
  /// Create function of the service's descriptor: a new service with a media server made from the module's settings,
  /// though there may be none. Null when memory runs out.
  static IService* Create();

  ISession* CreateSession() override;
  /// 0 when the session was this service's kind and is destroyed, else 1: the image and SVG services answer the other
  /// way round.
  std::uint32_t DestroySession(ISession* session) override;

  UuidCache& cache() { return cache_; }

 private:
  platform::ComPtr<media_server::IMediaServer> media_server_;
  UuidCache cache_;
};

}  // namespace service::mediainfo::media_uuid::impl
