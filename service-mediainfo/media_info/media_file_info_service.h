#pragma once

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "service-mediainfo/service_base.h"

namespace service::mediainfo::media_info::impl {

/// Makes the sessions that describe media files, and owns the media server that they open files with.
class MediaFileInfoService final : public ServiceBase {
 public:
  /// Create function of the service's descriptor: a new service with a media server made from the module's settings.
  /// Without one the service's sessions use the codec component. Null when memory runs out.
  static IService* Create();

  ISession* CreateSession() override;
  std::uint32_t DestroySession(ISession* session) override;
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) override;
  /// Leaves the result as it was.
  std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) override;

 private:
  platform::ComPtr<media_server::IMediaServer> media_server_;
};

}  // namespace service::mediainfo::media_info::impl
